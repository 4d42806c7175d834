# embed_files(OUTPUT FILE...): makes a C++ source that holds files, for historian/command/serve/Page.h. It is made when
# CMake runs, which it does again when one of them changes.
function(embed_files output)
  set(arrays "")
  set(table "")
  set(number 0)
  foreach(file IN LISTS ARGN)
    get_filename_component(name ${file} NAME)
    get_filename_component(extension ${file} LAST_EXT)
    if(extension STREQUAL ".html")
      set(type "text/html; charset=utf-8")
    elseif(extension STREQUAL ".css")
      set(type "text/css; charset=utf-8")
    elseif(extension STREQUAL ".js")
      set(type "text/javascript; charset=utf-8")
    elseif(extension STREQUAL ".svg")
      set(type "image/svg+xml")
    else()
      message(FATAL_ERROR "${file}: of no type that is served")
    endif()
    file(READ ${file} bytes HEX)
    string(REGEX REPLACE "([0-9a-f][0-9a-f])" "0x\\1," bytes "${bytes}")
    string(APPEND arrays "constexpr unsigned char file${number}[] = {${bytes}};\n")
    string(APPEND table "    {\"/${name}\", \"${type}\", Content(file${number})},\n")
    math(EXPR number "${number} + 1")
  endforeach()
  file(CONFIGURE OUTPUT ${output} @ONLY CONTENT "// Made of the files of the page.
#include \"historian/command/serve/Page.h\"

namespace historian::command {
namespace {

${arrays}
template <std::size_t size>
std::string_view Content(const unsigned char (&file)[size]) {
  return {reinterpret_cast<const char*>(file), size};
}

}  // namespace

std::span<const PageFile> PageFiles() {
  static const PageFile files[] = {
${table}  };
  return files;
}

}  // namespace historian::command
")
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${ARGN})
endfunction()
