#include "Text.h"

#include <gtest/gtest.h>

namespace plant {
namespace {

TEST(Text, ConvertsBothWays) {
  for (const char* utf8 : {"", "PUMP", "Förderhöhe", "温度", "🌡 1"}) EXPECT_EQ(Narrow(Widen(utf8)), utf8);
  EXPECT_EQ(Widen("ö"), L"ö");
  EXPECT_EQ(Widen("a\xFF"), L"a�");
  EXPECT_EQ(Widen("\xC0\xAF"), L"��");       // overlong
  EXPECT_EQ(Widen("\xE2\x82"), L"��");       // cut short
  EXPECT_EQ(Widen("\xED\xA0\x80"), L"���");  // a surrogate
  EXPECT_EQ(Narrow(std::wstring(1, static_cast<wchar_t>(0xD800))), "�");
}

TEST(Text, KnowsWhatMayBeShown) {
  EXPECT_TRUE(IsUtf8("Förderhöhe"));
  EXPECT_FALSE(IsUtf8("F\xF6rderh\xF6he"));
  EXPECT_FALSE(HasControlCharacter("Förderhöhe"));
  for (const char* text : {"a\tb", "\n", "\x1B[0m", "\x7F", "\xC2\x9B"})
    EXPECT_TRUE(HasControlCharacter(text));
  EXPECT_EQ(OneLine("ERROR: no\nLINE 1:\t\x1B[0m"), "ERROR: no LINE 1: [0m");
  EXPECT_EQ(OneLine("abcdef", 4), "abc…");
}

TEST(Text, IsMeasuredInCells) {
  EXPECT_EQ(DisplayWidth("PUMP"), 4u);
  EXPECT_EQ(DisplayWidth("öä"), 2u);
  EXPECT_EQ(DisplayWidth("o\xCC\x88"), 1u);  // a combining mark
  EXPECT_EQ(DisplayWidth("温度"), 4u);
  EXPECT_EQ(AlignLeft("温度", 6), "温度  ");
  EXPECT_EQ(AlignRight("ö", 3), "  ö");
  EXPECT_EQ(AlignLeft("abcdef", 4), "abc…");
  EXPECT_EQ(AlignLeft("温度计", 4), "温… ");
  EXPECT_EQ(AlignLeft("abcd", 4), "abcd");
}

TEST(Text, WritesCountsWithCommas) {
  EXPECT_EQ(FormatCount(0), "0");
  EXPECT_EQ(FormatCount(999), "999");
  EXPECT_EQ(FormatCount(1000), "1,000");
  EXPECT_EQ(FormatCount(121940), "121,940");
  EXPECT_EQ(FormatCount(1234567890), "1,234,567,890");
}

TEST(Text, WritesValuesInEightCells) {
  struct Value {
    double value;
    const char* text;
  };
  for (const Value& value : {Value{0, "0"},
                             {0.4621, "0.4621"},
                             {-0.4621, "-0.4621"},
                             {0.001, "0.0010"},
                             {0.000999, "9.99e-04"},
                             {1, "1.000"},
                             {13.324672, "13.32"},
                             {-4.08, "-4.080"},
                             {99.99, "99.99"},
                             {192.937, "192.9"},
                             {24318.4, "24,318"},
                             {999999, "999,999"},
                             {-123456, "-123,456"},
                             {1234567, "1.23e+06"},
                             {-1234567, "-1.2e+06"},
                             {5e-324, "4.94e-324"}}) {
    EXPECT_EQ(FormatValue(value.value), value.text);
  }
}

TEST(Text, WritesDurations) {
  EXPECT_EQ(FormatDuration(0), "0 ms");
  EXPECT_EQ(FormatDuration(0.0042), "4 ms");
  EXPECT_EQ(FormatDuration(0.614), "0.61 s");
  EXPECT_EQ(FormatDuration(12.34), "12.3 s");
  EXPECT_EQ(FormatDuration(59.96), "1 min 00 s");
  EXPECT_EQ(FormatDuration(125), "2 min 05 s");
  EXPECT_EQ(FormatDuration(11045), "3 h 04 min");
  EXPECT_EQ(FormatThroughput(17420, 121940, 0.5),
            "17,420 rows, 121,940 samples in 0.50 s (243,880 samples/s)");
  EXPECT_EQ(FormatThroughput(0, 0, 0), "0 rows, 0 samples in 0 ms (0 samples/s)");
}

}  // namespace
}  // namespace plant
