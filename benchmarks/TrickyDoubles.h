#pragma once

// Doubles that are easily rounded wrongly to ten digits. For the test of WriteTenDigits and for its long
// comparison.

#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <random>
#include <string>

namespace bench {

class TrickyDoubles {
 public:
  explicit TrickyDoubles(std::uint64_t sequence) : random_(sequence) {}

  // Any finite bit pattern.
  double AnyDouble() {
    for (;;) {
      const auto value = std::bit_cast<double>(random_());
      if (std::isfinite(value)) return value;
    }
  }

  // Any mantissa, with a magnitude as measurements have it: 2^-64 to 2^64.
  double AnyMeasurement() {
    const double mantissa = static_cast<double>(random_() >> 11 | std::uint64_t{1} << 52);
    return Signed(std::ldexp(mantissa, Between(-64, 64) - 52));
  }

  // One of the kinds below, by turns, up to two neighbours away.
  double Tricky() {
    using Kind = double (TrickyDoubles::*)();
    constexpr std::array<Kind, 7> kKinds = {&TrickyDoubles::ExactHalf,  &TrickyDoubles::NearHalf,
                                            &TrickyDoubles::PowerOfTen, &TrickyDoubles::Nines,
                                            &TrickyDoubles::Subnormal,  &TrickyDoubles::ShortDecimal,
                                            &TrickyDoubles::Limit};
    turn_ = (turn_ + 1) % kKinds.size();
    return Signed(Neighbour((this->*kKinds[turn_])()));
  }

 private:
  int Between(int least, int most) { return std::uniform_int_distribution<int>(least, most)(random_); }
  std::uint64_t Digits(std::uint64_t least, std::uint64_t most) {
    return std::uniform_int_distribution<std::uint64_t>(least, most)(random_);
  }
  double Signed(double magnitude) { return random_() % 2 == 0 ? magnitude : -magnitude; }

  double Neighbour(double value) {
    const double toward = random_() % 2 == 0 ? 0 : std::numeric_limits<double>::max();
    for (int steps = Between(-3, 2); steps > 0; --steps) value = std::nextafter(value, toward);
    return value;
  }

  static double Parsed(std::uint64_t digits, int power) {
    return std::strtod((std::to_string(digits) + "e" + std::to_string(power)).c_str(), nullptr);
  }

  // Eleven digits, the last a 5, as a binary fraction has them: exactly between two results.
  double ExactHalf() {
    const int decimals = Between(0, 15);
    const auto divisor = static_cast<std::uint64_t>(std::pow(5, decimals));
    std::uint64_t quotient = Digits(10000000000 / divisor + 1, 99999999999 / divisor) | 1;
    if (decimals == 0) quotient = Digits(1000000000, 9999999999) * 10 + 5;
    return std::ldexp(static_cast<double>(quotient), -decimals);
  }

  // The double next to eleven digits, the last a 5, anywhere.
  double NearHalf() { return Parsed(Digits(1000000000, 9999999999) * 10 + 5, Between(-334, 297)); }

  double PowerOfTen() { return Parsed(1, Between(-323, 308)); }

  double Nines() {
    return Parsed(Digits(99999999990, 99999999999) * 1000000 + Digits(0, 999999), Between(-340, 291));
  }

  double Subnormal() { return std::bit_cast<double>(random_() >> Between(12, 63)); }

  double ShortDecimal() { return Parsed(Digits(0, 999999), Between(-6, 6)); }

  // Where the ways to write a number begin and end.
  double Limit() {
    static constexpr std::array<double, 12> kLimits = {0,
                                                       1e-18,
                                                       1e-4,
                                                       1,
                                                       1e9,
                                                       1e10,
                                                       9e18,
                                                       9007199254740992.0,
                                                       9223372036854775808.0,
                                                       18446744073709551616.0,
                                                       std::numeric_limits<double>::min(),
                                                       std::numeric_limits<double>::max()};
    return kLimits[static_cast<std::size_t>(Between(0, 11))];
  }

  std::mt19937_64 random_;
  std::size_t turn_ = 0;
};

}  // namespace bench
