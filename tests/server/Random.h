#pragma once

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

#include "WideText.h"

// Random values, the same ones in every run.
class Random {
 public:
  explicit Random(std::uint64_t start) : engine_(start) {}

  // Between two bounds, inclusive.
  std::int64_t Between(std::int64_t from, std::int64_t to) {
    return from + static_cast<std::int64_t>(engine_() % (static_cast<std::uint64_t>(to - from) + 1));
  }

  // Any value of an integer type, sometimes one of its bounds.
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

  // `length` characters of all Unicode planes, including quotes and control characters.
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
