#pragma once

#include <fmt/xchar.h>

#include <string>

// Not a template, so that the formatter is compiled once: in each source file it would take most of the
// compile time.
std::wstring FormatText(fmt::wstring_view pattern, fmt::wformat_args arguments);

// Format(L"{} of {}", a, b). Doubles go through ShortestText, as {fmt} chooses another form for some of them.
template <class... Args>
std::wstring Format(fmt::wformat_string<Args...> pattern, Args&&... args) {
  return FormatText(pattern, fmt::make_wformat_args(args...));
}

// The shortest text that reads back as the same double, fixed or exponential, whichever is shorter:
// 1700000000.123 and 1.7e+09.
std::wstring ShortestText(double value);
