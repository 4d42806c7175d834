#pragma once

// Format(L"{} of {}", a, b): the standard library's formatter where there is one, else {fmt}, which agrees
// with it on all that is used here. Doubles never go through it: the two differ there (see ShortestText).

#include <string>
#include <utility>
#include <version>

#ifdef __cpp_lib_format

#include <format>

namespace sys {

template <class... Args>
std::wstring Format(std::wformat_string<Args...> pattern, Args&&... args) {
  return std::format(pattern, std::forward<Args>(args)...);
}

}  // namespace sys

#else

#include <fmt/format.h>
#include <fmt/xchar.h>

namespace sys {

template <class... Args>
std::wstring Format(fmt::wformat_string<Args...> pattern, Args&&... args) {
  return fmt::format(pattern, std::forward<Args>(args)...);
}

}  // namespace sys

#endif
