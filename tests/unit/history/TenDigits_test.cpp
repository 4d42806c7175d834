#include "DbmsAPI/history/TenDigits.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

#include "DbmsAPI/history/DecimalDigits.h"
#include "benchmarks/TrickyDoubles.h"

namespace {

std::string TenDigits(double value) {
  char text[kTenDigitsRoom];
  return {text, WriteTenDigits(text, value)};
}

std::string Standard(double value) {
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr};
}

TEST(TenDigits, ShortValuesStayShort) {
  EXPECT_EQ(TenDigits(0), "0");
  EXPECT_EQ(TenDigits(-0.0), "-0");
  EXPECT_EQ(TenDigits(1), "1");
  EXPECT_EQ(TenDigits(-1), "-1");
  EXPECT_EQ(TenDigits(21.5), "21.5");
  EXPECT_EQ(TenDigits(-0.1), "-0.1");
  EXPECT_EQ(TenDigits(120), "120");
  EXPECT_EQ(TenDigits(1000000), "1000000");
  EXPECT_EQ(TenDigits(0.001), "0.001");
}

TEST(TenDigits, LongValuesAreRoundedToTenDigits) {
  EXPECT_EQ(TenDigits(3.14159265358979), "3.141592654");
  EXPECT_EQ(TenDigits(1234567.890625), "1234567.891");
  EXPECT_EQ(TenDigits(1.0 / 3), "0.3333333333");
  EXPECT_EQ(TenDigits(-2e-3 / 3), "-0.0006666666667");
  EXPECT_EQ(TenDigits(99999.99999), "99999.99999");
}

TEST(TenDigits, HalvesGoToTheEvenDigit) {
  EXPECT_EQ(TenDigits(1000000000.5), "1000000000");
  EXPECT_EQ(TenDigits(1000000001.5), "1000000002");
  EXPECT_EQ(TenDigits(123456789.25), "123456789.2");
  EXPECT_EQ(TenDigits(123456789.75), "123456789.8");
  EXPECT_EQ(TenDigits(12345678905.0), "1.23456789e+10");
  EXPECT_EQ(TenDigits(12345678915.0), "1.234567892e+10");
  EXPECT_EQ(TenDigits(12345678905.5), "1.234567891e+10");
}

TEST(TenDigits, NinesAreCarried) {
  EXPECT_EQ(TenDigits(0.99999999999), "1");
  EXPECT_EQ(TenDigits(9.9999999999), "10");
  EXPECT_EQ(TenDigits(9999999999.4), "9999999999");
  EXPECT_EQ(TenDigits(9999999999.5), "1e+10");
  EXPECT_EQ(TenDigits(0.000099999999999), "0.0001");
}

TEST(TenDigits, LargeAndSmallPowersAreWrittenWithAnExponent) {
  EXPECT_EQ(TenDigits(1e10), "1e+10");
  EXPECT_EQ(TenDigits(12345678901.0), "1.23456789e+10");
  EXPECT_EQ(TenDigits(1.7e12), "1.7e+12");
  EXPECT_EQ(TenDigits(0.00001), "1e-05");
  EXPECT_EQ(TenDigits(-0.0000123), "-1.23e-05");
  EXPECT_EQ(TenDigits(1e100), "1e+100");
  EXPECT_EQ(TenDigits(1e-18), "1e-18");
  EXPECT_EQ(TenDigits(9e18), "9e+18");
}

TEST(TenDigits, TheLimitsOfADoubleAreWritten) {
  EXPECT_EQ(TenDigits(DBL_MAX), "1.797693135e+308");
  EXPECT_EQ(TenDigits(DBL_MIN), "2.225073859e-308");
  EXPECT_EQ(TenDigits(std::numeric_limits<double>::denorm_min()), "4.940656458e-324");
  EXPECT_EQ(TenDigits(INFINITY), "inf");
  EXPECT_EQ(TenDigits(-INFINITY), "-inf");
  EXPECT_EQ(TenDigits(NAN), "nan");
}

TEST(TenDigits, EveryValueIsWrittenAsTheStandardLibraryWritesIt) {
  bench::TrickyDoubles doubles(1);
  for (int i = 0; i < 200000; ++i) {
    for (const double value : {doubles.AnyDouble(), doubles.AnyMeasurement(), doubles.Tricky()}) {
      ASSERT_EQ(TenDigits(value), Standard(value))
          << Standard(value) << ", bits " << std::bit_cast<std::uint64_t>(value);
    }
  }
}

TEST(TenDigits, EveryPowerOfTwoAndItsNeighboursAreWrittenAsTheStandardLibraryWritesThem) {
  for (int power = -1074; power < 1024; ++power) {
    const double value = std::ldexp(1, power);
    for (const double near : {std::nextafter(value, 0), value, std::nextafter(value, DBL_MAX)}) {
      ASSERT_EQ(TenDigits(near), Standard(near)) << power;
    }
  }
}

TEST(TenDigits, NothingBehindTheRoomIsTouched) {
  for (const double value : {-DBL_MIN, -1234567890.5, -1.234567891e-5, -0.0001234567891, -1.0}) {
    std::string text(kTenDigitsRoom + 8, '#');
    WriteTenDigits(text.data(), value);
    EXPECT_EQ(text.substr(kTenDigitsRoom), "########");
  }
}

TEST(DecimalDigits, EightDigitsAreTheNumber) {
  for (std::uint32_t number = 0; number < 100000000; number += number < 100000 ? 1 : 997) {
    std::uint64_t read = 0;
    for (std::uint64_t i = 0, digits = EightDigits(number); i < 8; ++i, digits >>= 8)
      read = read * 10 + (digits & 0xFF);
    ASSERT_EQ(read, number);
  }
}

TEST(DecimalDigits, TenCharactersKeepLeadingZeros) {
  char text[10];
  WriteTenCharacters(text, 1700000000);
  EXPECT_EQ(std::string(text, 10), "1700000000");
  WriteTenCharacters(text, 42);
  EXPECT_EQ(std::string(text, 10), "0000000042");
  WriteTenCharacters(text, 9999999999);
  EXPECT_EQ(std::string(text, 10), "9999999999");
}

}  // namespace
