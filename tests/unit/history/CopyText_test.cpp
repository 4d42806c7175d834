#include "DbmsAPI/history/CopyText.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>

namespace {

std::string Line(std::int64_t timeMs, const std::string& name, double value) {
  std::string text;
  CopyLines lines(text);
  lines.Append(timeMs, name, value);
  lines.Finish();
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
  CopyLines lines(text);
  lines.Append(1000, "A", 1);
  lines.Append(2000, "B", 2);
  EXPECT_EQ(lines.size(), text.size() + 20);
  lines.Finish();
  EXPECT_EQ(lines.size(), text.size());
  lines.Append(2000, "C", 3);
  lines.Finish();
  EXPECT_EQ(text, "before\n1.000\tA\t1\n2.000\tB\t2\n2.000\tC\t3\n");
}

TEST(CopyText, LinesOfOneSecondDifferInMilliseconds) {
  std::string text;
  CopyLines lines(text);
  for (const std::int64_t timeMs :
       std::initializer_list<std::int64_t>{1, 999, 1000, 1001, 1999, 999, 1700000000000, 1700000000123}) {
    lines.Append(timeMs, "A", 1);
  }
  lines.Finish();
  EXPECT_EQ(text,
            "0.001\tA\t1\n0.999\tA\t1\n1.000\tA\t1\n1.001\tA\t1\n1.999\tA\t1\n0.999\tA\t1\n"
            "1700000000.000\tA\t1\n1700000000.123\tA\t1\n");
}

TEST(CopyText, ManyLinesKeepTheirOrder) {
  std::string text, expected;
  CopyLines lines(text);
  for (int i = 0; i < 5000; ++i) {
    const std::string name(static_cast<std::size_t>(i % 300), 'n');
    lines.Append(1700000000000 + i, name, i);
    const std::string milliseconds = std::to_string(i % 1000);
    expected += std::to_string(1700000000 + i / 1000) + "." + std::string(3 - milliseconds.size(), '0') +
                milliseconds + "\t" + name + "\t" + std::to_string(i) + "\n";
    ASSERT_EQ(lines.size(), expected.size());
  }
  lines.Finish();
  EXPECT_EQ(text, expected);
}

TEST(CopyText, ANameMayBeOfAnyLength) {
  for (const std::size_t length : {16300u, 16384u, 100000u, 5000000u}) {
    const std::string name(length, 'n');
    std::string text;
    CopyLines lines(text);
    lines.Append(1000, "A", 1);
    lines.Append(2000, name, 2);
    lines.Append(3000, "B", 3);
    lines.Finish();
    EXPECT_EQ(text, "1.000\tA\t1\n2.000\t" + name + "\t2\n3.000\tB\t3\n");
  }
}

TEST(CopyText, ValuesKeepTenSignificantDigits) {
  EXPECT_EQ(Line(1000, "A", 3.14159265358979), "1.000\tA\t3.141592654\n");
  EXPECT_EQ(Line(1000, "A", 12345678901.0), "1.000\tA\t1.23456789e+10\n");
  EXPECT_EQ(Line(1000, "A", 1234567890.0), "1.000\tA\t1234567890\n");
  EXPECT_EQ(Line(1000, "A", 0.0001), "1.000\tA\t0.0001\n");
  EXPECT_EQ(Line(1000, "A", 0.00001), "1.000\tA\t1e-05\n");
  EXPECT_EQ(Line(1000, "A", -0.0), "1.000\tA\t-0\n");
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
