#pragma once

// Format(L"{} of {}", a, b): the standard library's formatter where there is one, else {fmt}, which agrees
// with it on all that is used here. Doubles never go through it: the two differ there (see ShortestText).
//
// FormatText does the work, compiled once: a formatter in each source file takes most of its compile time.

#include <string>
#include <string_view>
#include <version>

#ifdef __cpp_lib_format

#include <format>

namespace sys {

std::wstring FormatText(std::wstring_view pattern, std::wformat_args arguments);

template <class... Args>
std::wstring Format(std::wformat_string<Args...> pattern, Args&&... args) {
  return FormatText(pattern.get(), std::make_wformat_args(args...));
}

}  // namespace sys

#else

#include <fmt/xchar.h>

namespace sys {

std::wstring FormatText(std::wstring_view pattern, fmt::wformat_args arguments);

template <class... Args>
std::wstring Format(fmt::wformat_string<Args...> pattern, Args&&... args) {
  const fmt::wstring_view text = pattern;
  return FormatText({text.data(), text.size()}, fmt::make_wformat_args(args...));
}

}  // namespace sys

#endif
