#include "historian/CopyRows.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <limits>
#include <random>
#include <string_view>

#include "historian/Error.h"

namespace historian {
namespace {

using namespace std::string_literals;

constexpr std::int64_t kStart = 1700000000000;  // 753315200 s after 2000-01-01: 0x0002AD21E2BF8000 us

const std::string kHeader = "PGCOPY\n\xff\r\n\0"s + "\0\0\0\0"s + "\0\0\0\0"s;
const std::string kTrailer = "\xff\xff"s;

std::string SqlStateOf(const std::function<void()>& body) {
  try {
    body();
  } catch (const Error& error) {
    return error.SqlState();
  }
  return "nothing thrown";
}

// A value as the server parses it from ten digits.
double ByLibrary(double value) {
  char text[64];
  const auto end = std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr;
  double read = 0;
  EXPECT_EQ(std::from_chars(text, end, read).ec, std::errc()) << value;
  return read;
}

bool SameBits(double a, double b) { return a == b && std::signbit(a) == std::signbit(b); }

TEST(CopyRowsTest, WritesHeaderRowAndTrailer) {
  const CopyRows copy = MakeCopyRows({{946684800001, L"Tag", 1.5}});
  EXPECT_EQ(copy.bytes, kHeader + "\0\3"s + "\0\0\0\x8\0\0\0\0\0\0\x3\xe8"s + "\0\0\0\3Tag"s +
                            "\0\0\0\x8\x3f\xf8\0\0\0\0\0\0"s + kTrailer);
  EXPECT_EQ(copy.rows, 1);
  EXPECT_EQ(copy.oldest, 1000);
  EXPECT_EQ(copy.newest, 1000);
}

TEST(CopyRowsTest, WritesNullForASampleWithoutValue) {
  const CopyRows copy = MakeCopyRows({{946684800000, L"A", DBL_MAX}});
  EXPECT_EQ(copy.bytes,
            kHeader + "\0\3"s + "\0\0\0\x8\0\0\0\0\0\0\0\0"s + "\0\0\0\1A"s + "\xff\xff\xff\xff"s + kTrailer);
}

TEST(CopyRowsTest, WritesNamesInUtf8AsTheyAre) {
  const CopyRows copy = MakeCopyRows({{kStart, L"a\tb\\\u00e4\U0001F600", 0}});
  EXPECT_NE(copy.bytes.find("\0\0\0\xa"
                            "a\tb\\\xc3\xa4\xf0\x9f\x98\x80"s),
            std::string::npos);
}

TEST(CopyRowsTest, LeavesOutWhatCannotBeStored) {
  const double nan = std::numeric_limits<double>::quiet_NaN(),
               infinite = std::numeric_limits<double>::infinity();
  const CopyRows copy = MakeCopyRows({{0, L"A", 1},
                                      {-1, L"A", 1},
                                      {kStart, L"", 1},
                                      {kStart, L"A", nan},
                                      {kStart, L"A", infinite},
                                      {kStart, L"A", -infinite},
                                      {1, L"A", 1}});
  EXPECT_EQ(copy.leftOut, 6);
  EXPECT_EQ(copy.rows, 1);
}

TEST(CopyRowsTest, MakesAnEmptyCopyOfNoSamples) {
  const CopyRows copy = MakeCopyRows({});
  EXPECT_EQ(copy.bytes, kHeader + kTrailer);
  EXPECT_EQ(copy.rows, 0);
}

TEST(CopyRowsTest, SortsByTimeAndThenByTheBytesOfTheTag) {
  const CopyRows sorted =
      MakeCopyRows({{1000, L"A", 1}, {1000, L"B", 2}, {1000, L"\u00e4", 3}, {2000, L"A", 4}});
  EXPECT_EQ(MakeCopyRows({{2000, L"A", 4}, {1000, L"\u00e4", 3}, {1000, L"B", 2}, {1000, L"A", 1}}).bytes,
            sorted.bytes);
}

TEST(CopyRowsTest, KeepsTheFirstOfSamplesWithOneTimeAndTag) {
  const CopyRows copy =
      MakeCopyRows({{2000, L"A", 1}, {1000, L"A", 2}, {2000, L"A", 3}, {1000, L"A", 4}, {2000, L"B", 5}});
  EXPECT_EQ(copy.repeated, 2);
  EXPECT_EQ(copy.rows, 3);
  EXPECT_EQ(copy.bytes, MakeCopyRows({{1000, L"A", 2}, {2000, L"A", 1}, {2000, L"B", 5}}).bytes);
}

TEST(CopyRowsTest, TreatsNamesThatBecomeTheSameTextAsOne) {
  const CopyRows copy = MakeCopyRows({{1000, L"\xD800", 1}, {1000, L"\xDFFF", 2}});
  EXPECT_EQ(copy.rows, 1);
  EXPECT_EQ(copy.repeated, 1);
}

TEST(CopyRowsTest, RemovesRowsByTheirKeys) {
  const std::vector<LogSample> samples = {
      {1000, L"A", 1}, {1000, L"", 0}, {1000, L"B", DBL_MAX}, {2000, L"A", 3}, {2000, L"A", 4}};
  const CopyRows copy = MakeCopyRows(samples);
  const std::int64_t first = StoredTime(1000), second = StoredTime(2000);
  const CopyRows rest = WithoutRows(copy, {{first, "B"}, {second, "B"}, {first + 1, "A"}});
  EXPECT_EQ(rest.bytes, MakeCopyRows({samples[0], samples[3]}).bytes);
  EXPECT_EQ(rest.rows, 2);
  EXPECT_EQ(rest.repeated, 1);
  EXPECT_EQ(rest.leftOut, 1);
  EXPECT_EQ(WithoutRows(copy, {}).bytes, copy.bytes);
  const CopyRows none = WithoutRows(copy, {{first, "A"}, {first, "B"}, {second, "A"}});
  EXPECT_EQ(none.bytes, kHeader + kTrailer);
  EXPECT_EQ(none.rows, 0);
}

TEST(StoredTimeTest, IsExactWhereDoublesHaveMicroseconds) {
  EXPECT_EQ(StoredTime(1), -946684799999000);
  EXPECT_EQ(StoredTime(946684800000), 0);
  std::mt19937_64 random(1);
  for (int i = 0; i < 1000000; ++i) {
    const auto timeMs = static_cast<std::int64_t>(random() % 4294967296000);  // up to the year 2106
    ASSERT_EQ(StoredTime(timeMs), (timeMs - 946684800000) * 1000);
  }
}

TEST(StoredTimeTest, RefusesWhatATimestampCannotHold) {
  EXPECT_EQ(SqlStateOf([] { StoredTime(9224318016000000); }), "22008");
  EXPECT_EQ(SqlStateOf([] { StoredTime(std::numeric_limits<std::int64_t>::max()); }), "22008");
  EXPECT_GT(StoredTime(9224318015999000), 9223371331198000000);
}

TEST(StoredValueTest, KeepsTenSignificantDigits) {
  EXPECT_EQ(StoredValue(1.23456789012), 1.23456789);
  EXPECT_EQ(StoredValue(1.23456789051), 1.234567891);
  EXPECT_EQ(StoredValue(-99999999999.0), -1e11);
  EXPECT_EQ(StoredValue(9.99999999996), 10);
  EXPECT_EQ(StoredValue(0.1), 0.1);
  EXPECT_TRUE(SameBits(StoredValue(-0.0), -0.0));
  EXPECT_EQ(StoredValue(std::numeric_limits<double>::denorm_min()),
            std::numeric_limits<double>::denorm_min());
}

TEST(StoredValueTest, RefusesValuesThatRoundOutOfRange) {
  EXPECT_EQ(SqlStateOf([] { StoredValue(-DBL_MAX); }), "22003");
  EXPECT_EQ(SqlStateOf([] { StoredValue(std::nextafter(DBL_MAX, 0)); }), "22003");
}

TEST(StoredValueTest, EqualsTheParsedTextOfTenDigits) {
  std::mt19937_64 random(2);
  for (int i = 0; i < 2000000; ++i) {
    const auto value = std::bit_cast<double>(random());
    if (!std::isfinite(value) || std::fabs(value) > 1e308) continue;
    ASSERT_TRUE(SameBits(StoredValue(value), ByLibrary(value))) << value;
  }
}

// The values that a plant has, and halves of the tenth digit and their neighbours, where rounding is decided.
TEST(StoredValueTest, EqualsTheParsedTextNextToAHalf) {
  std::mt19937_64 random(3);
  std::uniform_int_distribution<int> exponents(-16, 17);
  for (int i = 0; i < 300000; ++i) {
    const double digits = static_cast<double>(1000000000 + random() % 9000000000) + 0.5;
    const double half = digits * std::pow(10.0, exponents(random) - 9);
    const double up = std::nextafter(half, DBL_MAX), down = std::nextafter(half, 0);
    for (const double value : {half, up, down, std::nextafter(up, DBL_MAX), -half, half * (1 + 1e-15)}) {
      ASSERT_TRUE(SameBits(StoredValue(value), ByLibrary(value))) << value;
    }
  }
}

TEST(StoredValueTest, EqualsTheParsedTextNextToPowersOfTen) {
  for (int power = -20; power <= 20; ++power) {
    double value = std::pow(10.0, power);
    for (int i = 0; i < 100; ++i) value = std::nextafter(value, 0);
    for (int i = 0; i < 200; ++i, value = std::nextafter(value, DBL_MAX)) {
      ASSERT_TRUE(SameBits(StoredValue(value), ByLibrary(value))) << value;
    }
  }
}

}  // namespace
}  // namespace historian
