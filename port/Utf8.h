#pragma once

#include <string>
#include <string_view>

namespace sys {

// Convert wide text (UTF-32 or UTF-16, depending on the platform's wchar_t) to UTF-8 and back. Malformed
// sequences become U+FFFD.
void AppendUtf8(std::string& bytes, std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

inline std::string ToUtf8(std::wstring_view text) {
  std::string bytes;
  AppendUtf8(bytes, text);
  return bytes;
}

}  // namespace sys
