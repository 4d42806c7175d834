#include "pq/NumberText.h"

#include <cfloat>
#include <cmath>
#include <cstdint>
#include <limits>

#include "Caught.h"

namespace {

constexpr std::int64_t kLeast = INT64_MIN;
constexpr std::int64_t kGreatest = INT64_MAX;

std::int64_t Integer(const char* text) { return pq::ParseInteger(text, kLeast, kGreatest); }

TEST(IntegerText, IsRead) {
  EXPECT_EQ(Integer("0"), 0);
  EXPECT_EQ(Integer("42"), 42);
  EXPECT_EQ(Integer("-42"), -42);
  EXPECT_EQ(Integer("+42"), 42);
  EXPECT_EQ(Integer("  42 "), 42);
  EXPECT_EQ(Integer("007"), 7);
  EXPECT_EQ(Integer("9223372036854775807"), kGreatest);
  EXPECT_EQ(Integer("-9223372036854775808"), kLeast);
}

TEST(IntegerText, IsCutTowardZero) {
  EXPECT_EQ(Integer("1.99"), 1);
  EXPECT_EQ(Integer("-1.99"), -1);
  EXPECT_EQ(Integer("-0.5"), 0);
  EXPECT_EQ(Integer("1700000000.123456"), 1700000000);
  EXPECT_EQ(Integer("9223372036854775807.999"), kGreatest);
  EXPECT_EQ(Integer("5."), 5);
  EXPECT_EQ(Integer(".5"), 0);
}

TEST(IntegerText, MayHaveAnExponent) {
  EXPECT_EQ(Integer("1.7e+09"), 1700000000);
  EXPECT_EQ(Integer("1.7e+00"), 1);
  EXPECT_EQ(Integer("-1e+15"), -1000000000000000);
  EXPECT_EQ(Integer("5e-324"), 0);
}

TEST(IntegerText, OutOfRangeIsAnError) {
  EXPECT_EQ(UsageErrorText([] { Integer("9223372036854775808"); }),
            L"\"9223372036854775808\" is out of the range of the type it is read as");
  for (const char* text : {"-9223372036854775809", "99999999999999999999999.5", "1e+19", "-1e+19", "9.3e18",
                           "1e400", "NaN", "Infinity", "-Infinity"}) {
    EXPECT_NE(UsageErrorText([&] { Integer(text); }), L"") << text;
  }
}

TEST(IntegerText, OutOfTheRangeAskedForIsAnError) {
  EXPECT_EQ(pq::ParseInteger("-32768", -32768, 32767), -32768);
  EXPECT_EQ(pq::ParseInteger("32767.9", -32768, 32767), 32767);
  EXPECT_EQ(UsageErrorText([] { pq::ParseInteger("32768", -32768, 32767); }),
            L"\"32768\" is out of the range of the type it is read as");
  EXPECT_NE(UsageErrorText([] { pq::ParseInteger("-32769", -32768, 32767); }), L"");
  EXPECT_NE(UsageErrorText([] { pq::ParseInteger("3.3e4", -32768, 32767); }), L"");
}

TEST(NumberText, ThatIsInvalidIsAnError) {
  EXPECT_EQ(UsageErrorText([] { Integer("12 apples"); }), L"\"12 apples\" is no number");
  EXPECT_EQ(UsageErrorText([] { Integer("\xC3\xA4"); }), L"\"\u00e4\" is no number");
  for (const char* text : {"", " ", "-", "+", ".", "e5", "1,5", "1.5.2", "0x10", "1e", "--1", "+-1", "1 2",
                           "5.x", "t", "NULL", "infin"}) {
    EXPECT_NE(UsageErrorText([&] { Integer(text); }), L"") << text;
    EXPECT_NE(UsageErrorText([&] { pq::ParseDouble(text); }), L"") << text;
  }
}

TEST(DoubleText, IsRead) {
  EXPECT_EQ(pq::ParseDouble("0.1"), 0.1);
  EXPECT_EQ(pq::ParseDouble("-1.7976931348623157e+308"), -DBL_MAX);
  EXPECT_EQ(pq::ParseDouble("2.2250738585072014e-308"), DBL_MIN);
  EXPECT_EQ(pq::ParseDouble("5e-324"), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(pq::ParseDouble("1700000000.123456"), 1700000000.123456);
  EXPECT_EQ(pq::ParseDouble(" +2 "), 2.0);
  EXPECT_TRUE(std::signbit(pq::ParseDouble("-0")));
}

TEST(DoubleText, MayBeNoFiniteNumber) {
  EXPECT_TRUE(std::isnan(pq::ParseDouble("NaN")));
  EXPECT_EQ(pq::ParseDouble("Infinity"), INFINITY);
  EXPECT_EQ(pq::ParseDouble("-Infinity"), -INFINITY);
}

TEST(DoubleText, TooGreatIsAnError) {
  const std::string digits = "1" + std::string(400, '0');
  for (const std::string& text :
       {std::string("1e400"), std::string("-1e400"), digits, digits + ".5", std::string("1e99999999999")}) {
    EXPECT_NE(UsageErrorText([&] { pq::ParseDouble(text); }), L"") << text;
  }
}

TEST(DoubleText, TooSmallIsZero) {
  const std::string digits = "0." + std::string(400, '0') + "1";
  for (const std::string& text :
       {std::string("1e-400"), digits, std::string("1e-99999999999"), "1" + std::string(10, '0') + "e-500"}) {
    EXPECT_EQ(pq::ParseDouble(text), 0.0) << text;
  }
  EXPECT_TRUE(std::signbit(pq::ParseDouble("-1e-400")));
}

TEST(BoolText, IsRead) {
  for (const char* text : {"t", "true", "1", "-1", "0.5", "1e5"}) EXPECT_TRUE(pq::ParseBool(text)) << text;
  for (const char* text : {"f", "false", "0", "0.00", "-0"}) EXPECT_FALSE(pq::ParseBool(text)) << text;
  EXPECT_EQ(UsageErrorText([] { pq::ParseBool("maybe"); }), L"\"maybe\" is no number");
}

}  // namespace
