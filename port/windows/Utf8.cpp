#include "port/Utf8.h"

#include <windows.h>

namespace sys {

void AppendUtf8(std::string& bytes, std::wstring_view text) {
  const int length = static_cast<int>(text.size());
  const std::size_t before = bytes.size();
  const int added = WideCharToMultiByte(CP_UTF8, 0, text.data(), length, nullptr, 0, nullptr, nullptr);
  bytes.resize(before + static_cast<std::size_t>(added));
  WideCharToMultiByte(CP_UTF8, 0, text.data(), length, bytes.data() + before, added, nullptr, nullptr);
}

std::wstring FromUtf8(std::string_view text) {
  const int length = static_cast<int>(text.size());
  const int units = MultiByteToWideChar(CP_UTF8, 0, text.data(), length, nullptr, 0);
  std::wstring result(static_cast<std::size_t>(units), L'\0');
  MultiByteToWideChar(CP_UTF8, 0, text.data(), length, result.data(), units);
  return result;
}

}  // namespace sys
