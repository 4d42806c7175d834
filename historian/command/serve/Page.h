#pragma once

#include <httplib.h>

#include <span>
#include <string_view>

namespace historian::command {

// A file of the page, as the build has put it into the program.
struct PageFile {
  const char* path;  // "/style.css"
  const char* type;
  std::string_view content;
};

std::span<const PageFile> PageFiles();  // made by the build, from historian/web

// Serves each of them; the first one is the page itself and also at "/".
void RegisterPage(httplib::Server& server);

}  // namespace historian::command
