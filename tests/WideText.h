#pragma once

#include <string>
#include <string_view>

// In UTF-32 or UTF-16, depending on the platform's wchar_t.
inline std::wstring Wide(std::u32string_view text) {
  std::wstring wide;
  for (const char32_t c : text) {
    if (sizeof(wchar_t) == 4 || c < 0x10000) {
      wide += static_cast<wchar_t>(c);
    } else {
      wide += static_cast<wchar_t>(0xD800 + (c - 0x10000) / 0x400);
      wide += static_cast<wchar_t>(0xDC00 + (c - 0x10000) % 0x400);
    }
  }
  return wide;
}

inline std::string Utf8(std::u32string_view text) {
  std::string bytes;
  const auto add = [&](char32_t bits) { bytes += static_cast<char>(static_cast<unsigned char>(bits)); };
  const auto addTail = [&](char32_t bits) { add(0x80 | (bits & 0x3F)); };
  for (const char32_t c : text) {
    if (c < 0x80) {
      add(c);
    } else if (c < 0x800) {
      add(0xC0 | c >> 6), addTail(c);
    } else if (c < 0x10000) {
      add(0xE0 | c >> 12), addTail(c >> 6), addTail(c);
    } else {
      add(0xF0 | c >> 18), addTail(c >> 12), addTail(c >> 6), addTail(c);
    }
  }
  return bytes;
}
