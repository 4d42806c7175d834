#pragma once

#include <string>
#include <string_view>

namespace sys {

// Wide text (UTF-32 or UTF-16, after the platform's wchar_t) to UTF-8 and back. What is malformed
// becomes U+FFFD.
std::string ToUtf8(std::wstring_view text);
void AppendUtf8(std::string& bytes, std::wstring_view text);
std::wstring FromUtf8(std::string_view text);

}  // namespace sys
