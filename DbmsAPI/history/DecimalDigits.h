#pragma once

// Decimal digits eight at a time, without a loop: a number is split in halves until each byte holds one
// digit.

#include <bit>
#include <cstdint>
#include <cstring>

// Eight digits lie in a register as they will lie in memory, the first in the lowest byte.
inline constexpr bool kDigitsFitRegister = std::endian::native == std::endian::little;

// The digits of a number below 10^8 with its leading zeros, one in each byte, 0 to 9.
constexpr std::uint64_t EightDigits(std::uint32_t number) {
  const std::uint64_t fours = number / 10000 | static_cast<std::uint64_t>(number % 10000) << 32;
  const std::uint64_t hundreds = fours * 5243 >> 19 & 0x0000007F0000007F;  // fours / 100, for all below 10000
  const std::uint64_t twos = hundreds | (fours - hundreds * 100) << 16;
  const std::uint64_t tens = twos * 103 >> 10 & 0x000F000F000F000F;  // twos / 10, for all below 100
  return tens | (twos - tens * 10) << 8;
}

// The same as characters.
constexpr std::uint64_t EightCharacters(std::uint32_t number) {
  return EightDigits(number) | 0x3030303030303030;
}

// Writes the ten digits of a number below 10^10 with its leading zeros.
inline void WriteTenCharacters(char* at, std::uint64_t number) {
  const auto first = static_cast<std::uint32_t>(number / 100000000);
  const std::uint64_t rest = EightCharacters(static_cast<std::uint32_t>(number % 100000000));
  at[0] = static_cast<char>('0' + first / 10);
  at[1] = static_cast<char>('0' + first % 10);
  std::memcpy(at + 2, &rest, sizeof rest);
}
