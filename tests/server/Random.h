#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>
#include <string_view>

// Random values, the same ones in every run.
class Random {
 public:
  explicit Random(std::uint64_t start) : engine_(start) {}

  // Between two bounds, both included.
  std::int64_t Between(std::int64_t from, std::int64_t to) {
    return from + static_cast<std::int64_t>(engine_() % (static_cast<std::uint64_t>(to - from) + 1));
  }

  // Any value of an integer type, one of its bounds every now and then.
  template <class Integer>
  Integer Any() {
    switch (Between(0, 9)) {
      case 0: return std::numeric_limits<Integer>::min();
      case 1: return std::numeric_limits<Integer>::max();
      default: return static_cast<Integer>(engine_());
    }
  }

  // Any finite double, by its bits.
  double Double() {
    for (;;) {
      const auto value = std::bit_cast<double>(static_cast<std::uint64_t>(engine_()));
      if (std::isfinite(value)) return value;
    }
  }

  // So many characters of all planes of Unicode, quotes and control characters among them.
  std::u32string Text(std::size_t length) {
    std::u32string text;
    while (text.size() < length) text += Character();
    return text;
  }

 private:
  char32_t Character() {
    switch (Between(0, 5)) {
      case 0: return U"'\"\\:;%_{}\t\n\r,|"[Between(0, 13)];
      case 1: return static_cast<char32_t>(Between(1, 0x7F));
      case 2: return static_cast<char32_t>(Between(0x80, 0xD7FF));
      case 3: return static_cast<char32_t>(Between(0xE000, 0xFFFF));
      default: return static_cast<char32_t>(Between(0x10000, 0x10FFFF));
    }
  }

  std::mt19937_64 engine_;
};

// In UTF-32 or UTF-16, after the platform's wchar_t.
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
