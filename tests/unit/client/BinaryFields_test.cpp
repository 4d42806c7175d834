// Values in the server's binary format, from typed bytes.

#include "pq/BinaryFields.h"

#include <bit>
#include <cmath>
#include <limits>

#include "Caught.h"

namespace {

using namespace std::string_literals;

constexpr unsigned kBool = 16, kInt8 = 20, kInt2 = 21, kInt4 = 23, kText = 25, kFloat8 = 701,
                   kTimestamptz = 1184, kNumeric = 1700;
constexpr std::int64_t kLeast = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kGreatest = std::numeric_limits<std::int64_t>::max();

// A value of a type. The bytes must outlive it.
pq::Cell Value(unsigned type, const std::string& bytes) {
  return {bytes.data(), static_cast<int>(bytes.size()), type, true};
}

std::int64_t Integer(unsigned type, const std::string& bytes, std::int64_t least = kLeast,
                     std::int64_t greatest = kGreatest) {
  return pq::BinaryInteger(Value(type, bytes), least, greatest);
}
double Double(unsigned type, const std::string& bytes) { return pq::BinaryDouble(Value(type, bytes)); }
std::string Text(unsigned type, const std::string& bytes) { return pq::BinaryText(Value(type, bytes)); }
SADateTime DateTime(const std::string& bytes) { return pq::BinaryDateTime(Value(kTimestamptz, bytes)); }

TEST(BinaryFieldsTest, Integers) {
  EXPECT_EQ(Integer(kInt2, "\x80\x00"s), -32768);
  EXPECT_EQ(Integer(kInt4, "\x01\x02\x03\x04"), 0x01020304);
  EXPECT_EQ(Integer(kInt4, "\xFF\xFF\xFF\xFE"), -2);
  EXPECT_EQ(Integer(kInt8, "\x80\0\0\0\0\0\0\0"s), kLeast);
  EXPECT_EQ(Integer(kBool, "\x01"), 1);
  EXPECT_EQ(Integer(kFloat8, "\x40\x1D\x33\x33\x33\x33\x33\x33"), 7);  // 7.3
  EXPECT_EQ(Text(kInt2, "\x80\x00"s), "-32768");
  EXPECT_EQ(Text(kInt8, "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"), "9223372036854775807");
  EXPECT_EQ(UsageErrorText([] { Integer(kInt4, "\0\0\x80\0"s, -32768, 32767); }),
            L"\"32768\" is out of the range of the type it is read as");
}

TEST(BinaryFieldsTest, Booleans) {
  EXPECT_TRUE(pq::BinaryBool(Value(kBool, "\x01"s)));
  EXPECT_FALSE(pq::BinaryBool(Value(kBool, "\0"s)));
  EXPECT_TRUE(pq::BinaryBool(Value(kInt4, "\0\0\0\x02"s)));
  EXPECT_EQ(Double(kBool, "\x01"), 1.0);
  EXPECT_EQ(Text(kBool, "\x01"), "t");
  EXPECT_EQ(Text(kBool, "\0"s), "f");
}

TEST(BinaryFieldsTest, Doubles) {
  EXPECT_EQ(Double(kFloat8, "\x3F\xB9\x99\x99\x99\x99\x99\x9A"), 0.1);
  EXPECT_EQ(Double(kFloat8, "\0\0\0\0\0\0\0\x01"s), 5e-324);
  EXPECT_EQ(Double(kFloat8, "\x7F\xEF\xFF\xFF\xFF\xFF\xFF\xFF"), 1.7976931348623157e308);
  EXPECT_TRUE(std::signbit(Double(kFloat8, "\x80\0\0\0\0\0\0\0"s)));
  EXPECT_EQ(Double(kFloat8, "\xFF\xF0\0\0\0\0\0\0"s), -INFINITY);
  EXPECT_EQ(Double(kInt4, "\xFF\xFF\xFF\xFE"), -2.0);
}

TEST(BinaryFieldsTest, EveryNaNIsTheOneThatTheTextGives) {
  for (const auto& bytes : {"\x7F\xF8\0\0\0\0\0\x05"s, "\xFF\xF8\0\0\0\0\0\0"s, "\x7F\xF0\0\0\0\0\0\x01"s}) {
    EXPECT_EQ(std::bit_cast<std::uint64_t>(Double(kFloat8, bytes)), 0x7FF8000000000000u);
    EXPECT_EQ(Text(kFloat8, bytes), "NaN");
  }
}

TEST(BinaryFieldsTest, TextsOfDoubles) {
  EXPECT_EQ(Text(kFloat8, "\x3F\xB9\x99\x99\x99\x99\x99\x9A"), "0.1");
  EXPECT_EQ(Text(kFloat8, "\x41\xD9\x55\x4F\xC4\0\0\0"s), "1700085520");
  EXPECT_EQ(Text(kFloat8, "\x43\x0C\x6B\xF5\x26\x34\0\0"s), "1e+15");
  EXPECT_EQ(Text(kFloat8, "\x3F\x1A\x36\xE2\xEB\x1C\x43\x2D"), "0.0001");
  EXPECT_EQ(Text(kFloat8, "\x3E\xF4\xF8\xB5\x88\xE3\x68\xF1"), "2e-05");
  EXPECT_EQ(Text(kFloat8, "\x80\0\0\0\0\0\0\0"s), "-0");
  EXPECT_EQ(Text(kFloat8, "\x7F\xF0\0\0\0\0\0\0"s), "Infinity");
  EXPECT_EQ(Text(kFloat8, "\xFF\xF0\0\0\0\0\0\0"s), "-Infinity");
}

// Digits to the base 10,000: their count, the first one's power, the sign, the decimals shown, the digits.
TEST(BinaryFieldsTest, Numerics) {
  const auto epoch = "\0\x05\0\x02\0\0\0\x06\0\x11\0\0\0\0\x04\xD2\x15\xE0"s;  // 1700000000.123456
  EXPECT_EQ(Double(kNumeric, epoch), 1700000000.123456);
  EXPECT_EQ(Text(kNumeric, epoch), "1700000000.123456");
  const auto whole = "\0\x01\0\x02\0\0\0\x06\0\x11"s;  // 1700000000.000000
  EXPECT_EQ(Double(kNumeric, whole), 1700000000.0);
  EXPECT_EQ(Text(kNumeric, whole), "1700000000.000000");
  EXPECT_EQ(Integer(kNumeric, whole), 1700000000);
  const auto small = "\0\x01\xFF\xFE\x40\0\0\x05\x03\xE8"s;  // -0.00001
  EXPECT_EQ(Double(kNumeric, small), -0.00001);
  EXPECT_EQ(Text(kNumeric, small), "-0.00001");
  const auto zero = "\0\0\0\0\0\0\0\x02"s;
  EXPECT_EQ(Double(kNumeric, zero), 0.0);
  EXPECT_FALSE(std::signbit(Double(kNumeric, zero)));
  EXPECT_EQ(Text(kNumeric, zero), "0.00");
}

TEST(BinaryFieldsTest, NumericsThatNoDoubleHolds) {
  const auto long_ = "\0\x05\0\x04\0\0\0\0\x04\xD2\x16\x2E\x23\x34\x0D\x80\x1E\xD2"s;  // 12345678901234567890
  EXPECT_EQ(Double(kNumeric, long_), 12345678901234567890.0);
  EXPECT_EQ(Text(kNumeric, long_), "12345678901234567890");
  const auto huge = "\0\x01\0\x64\0\0\0\0\0\x01"s;  // 1e400
  EXPECT_EQ(Text(kNumeric, huge), "1" + std::string(400, '0'));
  EXPECT_NE(UsageErrorText([&] { Double(kNumeric, huge); }).find(L"out of the range"), std::wstring::npos);
  const auto tiny = "\0\x01\xFF\x9C\0\0\x01\x90\0\x01"s;  // 1e-400
  EXPECT_EQ(Double(kNumeric, tiny), 0.0);
  EXPECT_TRUE(std::isnan(Double(kNumeric, "\0\0\0\0\xC0\0\0\0"s)));
  EXPECT_EQ(Double(kNumeric, "\0\0\0\0\xD0\0\0\0"s), INFINITY);
  EXPECT_EQ(Double(kNumeric, "\0\0\0\0\xF0\0\0\0"s), -INFINITY);
  EXPECT_EQ(Text(kNumeric, "\0\0\0\0\xF0\0\0\0"s), "-Infinity");
}

TEST(BinaryFieldsTest, Instants) {
  const auto bytes =
      "\0\x02\xAD\x22\xDC\xE8\x42\x40"s;  // 2023-11-14 22:13:20.123456 UTC, in microseconds since 2000
  const SADateTime instant = DateTime(bytes);
  EXPECT_EQ(instant.GetYear(), 2023);
  EXPECT_EQ(instant.GetMonth(), 11);
  EXPECT_EQ(instant.GetDay(), 14);
  EXPECT_EQ(instant.GetHour(), 22);
  EXPECT_EQ(instant.GetMinute(), 13);
  EXPECT_EQ(instant.GetSecond(), 20);
  EXPECT_EQ(instant.Fraction(), 123456000u);
  EXPECT_EQ(Text(kTimestamptz, bytes), "2023-11-14 22:13:20.123456+00");
  EXPECT_EQ(Text(kTimestamptz, "\0\0\0\0\0\0\0\0"s), "2000-01-01 00:00:00+00");
  EXPECT_EQ(Text(kTimestamptz, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x9C"), "1999-12-31 23:59:59.9999+00");
  EXPECT_EQ(Text(kTimestamptz, "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"), "infinity");
  EXPECT_EQ(Text(kTimestamptz, "\x80\0\0\0\0\0\0\0"s), "-infinity");
  EXPECT_EQ(UsageErrorText([] { DateTime("\x80\0\0\0\0\0\0\0"s); }), L"\"-infinity\" is no date");
}

TEST(BinaryFieldsTest, CalendarSecondsOfInstants) {
  std::int64_t seconds = 0;
  const auto read = [&](unsigned type, const std::string& bytes) {
    return pq::BinaryCalendarSeconds(Value(type, bytes), seconds);
  };
  EXPECT_TRUE(read(kTimestamptz, "\0\x02\xAD\x22\xDC\xE8\x42\x40"s));  // 2023-11-14 22:13:20.123456 UTC
  EXPECT_EQ(seconds, 1700000000);
  EXPECT_TRUE(read(kTimestamptz, "\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF"));  // 1999-12-31 23:59:59.999999 UTC
  EXPECT_EQ(seconds, 946684799);
  EXPECT_FALSE(read(kTimestamptz, "\x7F\xFF\xFF\xFF\xFF\xFF\xFF\xFF"));  // infinity
  EXPECT_FALSE(read(kTimestamptz, "\x80\0\0\0\0\0\0\0"s));
  EXPECT_FALSE(read(kInt8, "\0\0\0\0\0\0\0\0"s));
}

TEST(BinaryFieldsTest, Texts) {
  EXPECT_EQ(Text(kText, "a\xE2\x82\xAC"), "a\xE2\x82\xAC");
  EXPECT_EQ(Double(kText, "1.5"), 1.5);
  EXPECT_EQ(UsageErrorText([] { Integer(kText, "12 apples"); }), L"\"12 apples\" is no number");
}

TEST(BinaryFieldsTest, MalformedValues) {
  const std::wstring malformed = L"The server sent a malformed value of the type ";
  EXPECT_EQ(UsageErrorText([] { Integer(kInt4, "\0\0"s); }), malformed + L"23");
  EXPECT_EQ(UsageErrorText([] { Double(kFloat8, ""); }), malformed + L"701");
  EXPECT_EQ(UsageErrorText([] { DateTime("\0"s); }), malformed + L"1184");
  for (const auto& bytes :
       {""s, "\0\0\0"s, "\0\x01\0\0\0\0\0\0"s, "\0\x01\0\0\0\0\0\0\x27\x10"s, "\0\0\0\0\x12\x34\0\0"s}) {
    EXPECT_EQ(UsageErrorText([&] { Double(kNumeric, bytes); }), malformed + L"1700");
    EXPECT_EQ(UsageErrorText([&] { Text(kNumeric, bytes); }), malformed + L"1700");
  }
}

TEST(BinaryFieldsTest, OfOtherTypesAreNotRead) {
  constexpr unsigned kFloat4 = 700, kDate = 1082, kTimestamp = 1114, kBytea = 17;
  for (const unsigned type : {kFloat4, kDate, kTimestamp, kBytea, 0u}) {
    EXPECT_FALSE(pq::IsReadableInBinary(type, true)) << type;
  }
  EXPECT_TRUE(pq::IsReadableInBinary(kTimestamptz, true));
  EXPECT_FALSE(pq::IsReadableInBinary(kTimestamptz, false));
  EXPECT_TRUE(pq::IsReadableInBinary(kNumeric, false));
}

}  // namespace
