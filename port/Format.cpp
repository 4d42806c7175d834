#include "port/Format.h"

namespace sys {

#ifdef __cpp_lib_format

std::wstring FormatText(std::wstring_view pattern, std::wformat_args arguments) {
  return std::vformat(pattern, arguments);
}

#else

std::wstring FormatText(std::wstring_view pattern, fmt::wformat_args arguments) {
  return fmt::vformat(fmt::wstring_view(pattern.data(), pattern.size()), arguments);
}

#endif

}  // namespace sys
