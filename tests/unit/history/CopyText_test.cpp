#include "DbmsAPI/history/CopyText.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <charconv>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>

namespace {

std::string Line(std::int64_t timeMs, const std::string& name, double value) {
  std::string text;
  AppendCopyLine(text, timeMs, name, value);
  return text;
}

std::string TenDigits(double value) {
  char text[64];
  return {text, std::to_chars(text, text + sizeof text, value, std::chars_format::general, 10).ptr};
}

TEST(CopyText, ALineIsSecondsNameAndValue) {
  EXPECT_EQ(Line(1700000000123, "PUMP", 21.5), "1700000000.123\tPUMP\t21.5\n");
  EXPECT_EQ(Line(1700000000005, "PUMP", -1), "1700000000.005\tPUMP\t-1\n");
  EXPECT_EQ(Line(1700000000050, "PUMP", 0), "1700000000.050\tPUMP\t0\n");
  EXPECT_EQ(Line(1, "PUMP", 1e100), "0.001\tPUMP\t1e+100\n");
  EXPECT_EQ(Line(999, "A", 1), "0.999\tA\t1\n");
  EXPECT_EQ(Line(1000, "A", 1), "1.000\tA\t1\n");
  EXPECT_EQ(Line(INT64_MAX, "A", 1), "9223372036854775.807\tA\t1\n");
}

TEST(CopyText, TheMissingValueIsNull) {
  EXPECT_EQ(Line(1700000000123, "PUMP", DBL_MAX), "1700000000.123\tPUMP\t\\N\n");
}

TEST(CopyText, TheLargestNegativeValueIsAValue) {
  EXPECT_EQ(Line(1000, "A", -DBL_MAX), "1.000\tA\t-1.797693135e+308\n");
}

TEST(CopyText, LinesAreAppended) {
  std::string text = "before\n";
  AppendCopyLine(text, 1000, "A", 1);
  AppendCopyLine(text, 2000, "B", 2);
  EXPECT_EQ(text, "before\n1.000\tA\t1\n2.000\tB\t2\n");
}

TEST(CopyText, ValuesKeepTenSignificantDigits) {
  EXPECT_EQ(Line(1000, "A", 3.14159265358979), "1.000\tA\t3.141592654\n");
  EXPECT_EQ(Line(1000, "A", 12345678901.0), "1.000\tA\t1.23456789e+10\n");
  EXPECT_EQ(Line(1000, "A", 1234567890.0), "1.000\tA\t1234567890\n");
  EXPECT_EQ(Line(1000, "A", 0.0001), "1.000\tA\t0.0001\n");
  EXPECT_EQ(Line(1000, "A", 0.00001), "1.000\tA\t1e-05\n");
  EXPECT_EQ(Line(1000, "A", -0.0), "1.000\tA\t-0\n");
}

TEST(CopyText, EveryValueIsWrittenAsTheStandardLibraryWritesIt) {
  std::mt19937_64 random(20240229);
  for (int i = 0; i < 200000; ++i) {
    double value;
    const std::uint64_t bits = random();
    static_assert(sizeof value == sizeof bits);
    std::memcpy(&value, &bits, sizeof value);
    if (!std::isfinite(value) || value == DBL_MAX) continue;
    ASSERT_EQ(Line(1000, "A", value), "1.000\tA\t" + TenDigits(value) + "\n");
  }
  for (const double value : {DBL_MIN, -DBL_MIN, std::numeric_limits<double>::denorm_min(), 999999999.95,
                             9999999999.5, 99999999995.0, 0.5, 1e22, 1e23, 123456789.25, 1234567890.5}) {
    EXPECT_EQ(Line(1000, "A", value), "1.000\tA\t" + TenDigits(value) + "\n");
  }
}

TEST(CopyText, NamesAreEscapedForCopy) {
  EXPECT_EQ(CopyName(L"plain 'quoted' \"name\""), "plain 'quoted' \"name\"");
  EXPECT_EQ(CopyName(L"a\tb\nc\rd\\e"), "a\\tb\\nc\\rd\\\\e");
  EXPECT_EQ(CopyName(L"\\N"), "\\\\N");
  EXPECT_EQ(CopyName(L"\\."), "\\\\.");
  EXPECT_EQ(CopyName(L"\u00e9\U0001F600"), "\xC3\xA9\xF0\x9F\x98\x80");
}

TEST(CopyText, OnlyCompleteSamplesAreStorable) {
  EXPECT_TRUE(IsStorable({1, L"A", 1.0}));
  EXPECT_TRUE(IsStorable({1, L"A", DBL_MAX}));
  EXPECT_FALSE(IsStorable({0, L"A", 1.0}));
  EXPECT_FALSE(IsStorable({-1, L"A", 1.0}));
  EXPECT_FALSE(IsStorable({1, L"", 1.0}));
  EXPECT_FALSE(IsStorable({1, L"A", std::nan("")}));
  EXPECT_FALSE(IsStorable({1, L"A", INFINITY}));
  EXPECT_FALSE(IsStorable({1, L"A", -INFINITY}));
}

}  // namespace
