#include "DbmsAPI/frame/Format.h"

#include <charconv>

std::wstring FormatText(fmt::wstring_view pattern, fmt::wformat_args arguments) {
  return fmt::vformat(pattern, arguments);
}

std::wstring ShortestText(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return std::wstring(text, end);
}
