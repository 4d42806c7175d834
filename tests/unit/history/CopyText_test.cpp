#include "DbmsAPI/history/CopyText.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <limits>

namespace {

std::string Line(std::int64_t timeMs, const std::string& name, double value) {
  std::string text;
  AppendCopyLine(text, timeMs, name, value);
  return text;
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
  AppendCopyLine(text, 2000, "C", 3);
  EXPECT_EQ(text, "before\n1.000\tA\t1\n2.000\tB\t2\n2.000\tC\t3\n");
}

TEST(CopyText, LinesOfOneSecondDifferInMilliseconds) {
  std::string text;
  for (const std::int64_t timeMs :
       std::initializer_list<std::int64_t>{1, 999, 1000, 1001, 1999, 999, 1700000000000, 1700000000123}) {
    AppendCopyLine(text, timeMs, "A", 1);
  }
  EXPECT_EQ(text,
            "0.001\tA\t1\n0.999\tA\t1\n1.000\tA\t1\n1.001\tA\t1\n1.999\tA\t1\n0.999\tA\t1\n"
            "1700000000.000\tA\t1\n1700000000.123\tA\t1\n");
}

TEST(CopyText, ANameMayBeOfAnyLength) {
  const std::string name(5000000, 'n');
  EXPECT_EQ(Line(2000, name, 2), "2.000\t" + name + "\t2\n");
}

// The value of a line.
std::string Value(double value) {
  const std::string line = Line(1000, "A", value);
  return line.substr(8, line.size() - 9);
}

TEST(CopyText, ShortValuesStayShort) {
  EXPECT_EQ(Value(0), "0");
  EXPECT_EQ(Value(-0.0), "-0");
  EXPECT_EQ(Value(1), "1");
  EXPECT_EQ(Value(-1), "-1");
  EXPECT_EQ(Value(21.5), "21.5");
  EXPECT_EQ(Value(-0.1), "-0.1");
  EXPECT_EQ(Value(120), "120");
  EXPECT_EQ(Value(1000000), "1000000");
  EXPECT_EQ(Value(0.001), "0.001");
}

TEST(CopyText, ValuesKeepTenSignificantDigits) {
  EXPECT_EQ(Value(3.14159265358979), "3.141592654");
  EXPECT_EQ(Value(1234567.890625), "1234567.891");
  EXPECT_EQ(Value(1.0 / 3), "0.3333333333");
  EXPECT_EQ(Value(-2e-3 / 3), "-0.0006666666667");
  EXPECT_EQ(Value(99999.99999), "99999.99999");
  EXPECT_EQ(Value(1234567890.0), "1234567890");
  EXPECT_EQ(Value(9.9999999999), "10");
  EXPECT_EQ(Value(9999999999.5), "1e+10");
}

TEST(CopyText, HalvesGoToTheEvenDigit) {
  EXPECT_EQ(Value(1000000000.5), "1000000000");
  EXPECT_EQ(Value(1000000001.5), "1000000002");
  EXPECT_EQ(Value(123456789.25), "123456789.2");
  EXPECT_EQ(Value(123456789.75), "123456789.8");
  EXPECT_EQ(Value(12345678905.0), "1.23456789e+10");
  EXPECT_EQ(Value(12345678915.0), "1.234567892e+10");
}

TEST(CopyText, LargeAndSmallValuesHaveAnExponent) {
  EXPECT_EQ(Value(1e10), "1e+10");
  EXPECT_EQ(Value(12345678901.0), "1.23456789e+10");
  EXPECT_EQ(Value(0.0001), "0.0001");
  EXPECT_EQ(Value(0.00001), "1e-05");
  EXPECT_EQ(Value(-0.0000123), "-1.23e-05");
  EXPECT_EQ(Value(1e100), "1e+100");
}

TEST(CopyText, TheLongestValuesFit) {
  EXPECT_EQ(Value(-1.7976931e308), "-1.7976931e+308");
  EXPECT_EQ(Value(DBL_MIN), "2.225073859e-308");
  EXPECT_EQ(Value(-DBL_MIN), "-2.225073859e-308");
  EXPECT_EQ(Value(-std::numeric_limits<double>::denorm_min()), "-4.940656458e-324");
}

TEST(CopyText, NamesAreEscapedForCopy) {
  EXPECT_EQ(EscapeForCopy(L"plain 'quoted' \"name\""), "plain 'quoted' \"name\"");
  EXPECT_EQ(EscapeForCopy(L"a\tb\nc\rd\\e"), "a\\tb\\nc\\rd\\\\e");
  EXPECT_EQ(EscapeForCopy(L"\\N"), "\\\\N");
  EXPECT_EQ(EscapeForCopy(L"\\."), "\\\\.");
  EXPECT_EQ(EscapeForCopy(L"\u00e9\U0001F600"), "\xC3\xA9\xF0\x9F\x98\x80");
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
