#include "DbmsAPI/history/TenDigits.h"

#include <array>
#include <charconv>
#include <limits>

#include "DbmsAPI/history/DecimalDigits.h"

// A value v has the decimal power k when 10^k <= v < 10^(k+1). Its ten digits are v * 10^(9-k), rounded to an
// integer, halves to the even one. Both ways below find that product exactly and round once:
//
// k from -18 to 9: 10^(9-k) is 5^(9-k) times a power of two. 5^27 has 63 bits and v has 53, so that the
// product of the two fits 128 bits.
//
// k from 10 to 18: v is below 2^63. Its whole part is divided by 10^(k-9); the remainder and whether v has a
// fraction decide.
//
// Any other value, and a platform without 128 bits, goes to the standard library.

namespace {

[[maybe_unused]] char* WriteByStandard(char* at, double value) {
  return std::to_chars(at, at + kTenDigitsRoom, value, std::chars_format::general, 10).ptr;
}

#ifdef __SIZEOF_INT128__

__extension__ using Wide = unsigned __int128;

constexpr int kLeastPower = -18;    // of values multiplied
constexpr int kGreatestPower = 18;  // of values divided
constexpr int kMantissaBits = 52;
constexpr int kExponentBias = 1023;
constexpr std::uint64_t kTenToNinth = 1000000000;
constexpr std::uint64_t kTenToTenth = 10000000000;
constexpr double kLeast = 1e-18;    // no smaller magnitude is multiplied
constexpr double kGreatest = 9e18;  // nor one from here on divided
constexpr std::uint64_t kEightZeros = 0x3030303030303030;

// The ten digits as a number, and the power of ten of the first.
struct Decimal {
  std::uint64_t digits;
  int power;
};

// A power of five from 5^0 on, its highest bit shifted to the top.
struct Factor {
  std::uint64_t bits;
  int shift;  // of the product's upper half to the ten digits, plus the value's biased exponent
};

constexpr auto kFactors = [] {
  std::array<Factor, 10 - kLeastPower> factors{};
  std::uint64_t power = 1;
  for (int p = 0; p < static_cast<int>(factors.size()); ++p, power *= 5) {
    const int leadingZeros = std::countl_zero(power);
    factors[static_cast<std::size_t>(p)] = {power << leadingZeros, leadingZeros - p + kExponentBias - 1};
  }
  return factors;
}();

constexpr auto kIntegerPowers = [] {
  std::array<std::uint64_t, kGreatestPower - 8> powers{};
  std::uint64_t power = 1;
  for (std::uint64_t& one : powers) {
    one = power;
    power *= 10;
  }
  return powers;
}();

// From 1e-18 on. One that is not exactly a power of ten lies so close to it that a value between the two
// gives the same ten digits with either power.
constexpr double kPowers[] = {1e-18, 1e-17, 1e-16, 1e-15, 1e-14, 1e-13, 1e-12, 1e-11, 1e-10, 1e-9,
                              1e-8,  1e-7,  1e-6,  1e-5,  1e-4,  1e-3,  1e-2,  1e-1,  1e0,   1e1,
                              1e2,   1e3,   1e4,   1e5,   1e6,   1e7,   1e8,   1e9,   1e10,  1e11,
                              1e12,  1e13,  1e14,  1e15,  1e16,  1e17,  1e18,  1e19};

// The power of a value from 1e-18 to 2^63.
int PowerOf(double value, int biasedExponent) {
  const int least = (biasedExponent - kExponentBias) * 78913 >> 18;  // times the logarithm of 2, rounded down
  return least + (value >= kPowers[least + 1 - kLeastPower] ? 1 : 0);
}

// 1 when more than half a unit was cut off, or just half a unit of an odd number; `more` tells of something
// behind `cut`. No branch: it could not be foretold.
constexpr std::uint64_t RoundUp(std::uint64_t cut, std::uint64_t half, bool more, std::uint64_t digits) {
  const std::uint64_t halfCounts = static_cast<std::uint64_t>(more) | (digits & 1);
  return cut > half - halfCounts ? 1 : 0;
}

Decimal Multiply(std::uint64_t mantissa, int biasedExponent, int power) {
  const Factor& factor = kFactors[static_cast<std::size_t>(9 - power)];
  const Wide product = static_cast<Wide>(mantissa << (63 - kMantissaBits)) * factor.bits;
  const auto upper = static_cast<std::uint64_t>(product >> 64);
  const auto lower = static_cast<std::uint64_t>(product);
  const int shift = factor.shift - biasedExponent;
  const std::uint64_t digits = upper >> shift;
  const std::uint64_t cut = upper << (64 - shift);
  return {digits + RoundUp(cut, std::uint64_t{1} << 63, lower != 0, digits), power};
}

Decimal Divide(double value, int power) {
  const auto whole = static_cast<std::uint64_t>(value);
  const std::uint64_t divisor = kIntegerPowers[static_cast<std::size_t>(power - 9)];
  const std::uint64_t digits = whole / divisor;
  const bool hasFraction = static_cast<double>(whole) != value;
  return {digits + RoundUp(whole % divisor, divisor / 2, hasFraction, digits), power};
}

Decimal TenDigitsOf(double value, std::uint64_t bits) {
  const auto biasedExponent = static_cast<int>(bits >> kMantissaBits);
  const int power = PowerOf(value, biasedExponent);
  const std::uint64_t hiddenBit = std::uint64_t{1} << kMantissaBits;
  const Decimal decimal = power < 10 ? Multiply((bits & (hiddenBit - 1)) | hiddenBit, biasedExponent, power)
                                     : Divide(value, power);
  if (decimal.digits < kTenToTenth) return decimal;
  return {kTenToNinth, power + 1};
}

// As characters: the first two apart, since a register holds eight.
struct Characters {
  char first, second;
  std::uint64_t rest;
  int count;  // without the zeros at the end
};

Characters CharactersOf(std::uint64_t digits) {
  const auto leading = static_cast<unsigned>(digits / 100000000);
  const std::uint64_t rest = EightDigits(static_cast<std::uint32_t>(digits % 100000000));
  const char first = static_cast<char>('0' + leading / 10);
  const char second = static_cast<char>('0' + leading % 10);
  int count = 10 - static_cast<int>(static_cast<unsigned>(std::countl_zero(rest)) / 8);
  count -= static_cast<int>(count == 2) & static_cast<int>(second == '0');
  return {first, second, rest | kEightZeros, count};
}

void WriteEight(char* at, std::uint64_t characters) { std::memcpy(at, &characters, sizeof characters); }

// ddd.ddd, for powers 0 to 9: all digits, and those behind the point once more, one place on.
char* WritePointed(char* at, const Characters& text, int power) {
  const int whole = power + 1;
  at[0] = text.first;
  at[1] = text.second;
  WriteEight(at + 2, text.rest);
  const std::uint64_t secondToNinth = text.rest << 8 | static_cast<unsigned char>(text.second);
  WriteEight(at + whole + 1, secondToNinth >> 4 * power >> 4 * power);
  at[10] = static_cast<char>(text.rest >> 56);
  at[whole] = '.';
  return at + (text.count > whole ? text.count + 1 : whole);
}

// 0.000ddd, for powers -1 to -4.
char* WriteSmall(char* at, const Characters& text, int power) {
  std::memcpy(at, "0.000", 5);
  char* const digits = at + 1 - power;
  digits[0] = text.first;
  digits[1] = text.second;
  WriteEight(digits + 2, text.rest);
  return digits + text.count;
}

// d.ddde+dd
char* WriteScientific(char* at, const Characters& text, int power) {
  at[0] = text.first;
  at[1] = '.';
  at[2] = text.second;
  WriteEight(at + 3, text.rest);
  at += text.count > 1 ? text.count + 1 : 1;
  const int magnitude = power < 0 ? -power : power;
  at[0] = 'e';
  at[1] = power < 0 ? '-' : '+';
  at[2] = static_cast<char>('0' + magnitude / 10);
  at[3] = static_cast<char>('0' + magnitude % 10);
  return at + 4;
}

char* WriteDecimal(char* at, const Decimal& decimal) {
  const Characters text = CharactersOf(decimal.digits);
  if (decimal.power >= 0 && decimal.power < 10) return WritePointed(at, text, decimal.power);
  if (decimal.power < 0 && decimal.power >= -4) return WriteSmall(at, text, decimal.power);
  return WriteScientific(at, text, decimal.power);
}

#endif

}  // namespace

char* WriteTenDigits(char* at, double value) {
#ifdef __SIZEOF_INT128__
  if constexpr (kDigitsFitRegister) {
    const auto bits = std::bit_cast<std::uint64_t>(value);
    const double magnitude = std::bit_cast<double>(bits << 1 >> 1);
    if (magnitude >= kLeast && magnitude < kGreatest) {
      *at = '-';
      return WriteDecimal(at + (bits >> 63), TenDigitsOf(magnitude, bits << 1 >> 1));
    }
  }
#endif
  return WriteByStandard(at, value);
}
