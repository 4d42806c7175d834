// Texts, dates, errors and values.

#include <cstring>
#include <type_traits>

#include "Caught.h"
#include "pq/Cell.h"

namespace {

TEST(SAStringTest, IsMadeOfWideText) {
  EXPECT_EQ(Wide(SAString()), L"");
  EXPECT_TRUE(SAString().IsEmpty());
  EXPECT_EQ(Wide(SAString(L"a\u20ac")), L"a\u20ac");
  EXPECT_EQ(Wide(SAString(static_cast<const SAChar*>(nullptr))), L"");
  EXPECT_EQ(SAString(L"abc", 2).GetLength(), 2u);
  EXPECT_EQ(SAString(L"a\0c", 3).GetLength(), 3u);
}

TEST(SAStringTest, IsMadeOfUtf8) {
  EXPECT_EQ(Wide(SAString("a\xE2\x82\xAC")), L"a\u20ac");
  EXPECT_EQ(Wide(SAString("a\xFF")), L"a\ufffd");
  EXPECT_EQ(Wide(SAString(static_cast<const char*>(nullptr))), L"");
}

TEST(SAStringTest, IsCompared) {
  EXPECT_TRUE(SAString(L"a") == SAString(L"a"));
  EXPECT_FALSE(SAString(L"a") == SAString(L"A"));
  EXPECT_TRUE(SAString(L"a") == L"a");
  EXPECT_TRUE(SAString(L"a") != L"b");
}

TEST(SADateTimeTest, CountsAsTheCalendarDoes) {
  const SADateTime date(2024, 12, 31, 23, 59, 58, 999);
  EXPECT_EQ(date.GetYear(), 2024);
  EXPECT_EQ(date.GetMonth(), 12);
  EXPECT_EQ(date.GetDay(), 31);
  EXPECT_EQ(date.GetHour(), 23);
  EXPECT_EQ(date.GetMinute(), 59);
  EXPECT_EQ(date.GetSecond(), 58);
  EXPECT_EQ(date.Fraction(), 999u);
  EXPECT_EQ(date.GetDayOfWeek(), 3);  // Tuesday
  EXPECT_EQ(date.GetDayOfYear(), 366);
  EXPECT_EQ(SADateTime(1900, 3, 1).GetDayOfYear(), 60);
  EXPECT_EQ(SADateTime(1970, 1, 1).GetDayOfWeek(), 5);  // Thursday
  EXPECT_EQ(SADateTime(0, 2, 29).GetDayOfYear(), 60);
}

TEST(SADateTimeTest, GivesTheFieldsOfC) {
  const std::tm fields = SADateTime(2024, 3, 1, 4, 5, 6, 7);
  EXPECT_EQ(fields.tm_year, 124);
  EXPECT_EQ(fields.tm_mon, 2);
  EXPECT_EQ(fields.tm_mday, 1);
  EXPECT_EQ(fields.tm_hour, 4);
  EXPECT_EQ(fields.tm_min, 5);
  EXPECT_EQ(fields.tm_sec, 6);
  EXPECT_EQ(fields.tm_wday, 5);
  EXPECT_EQ(fields.tm_yday, 60);
  EXPECT_EQ(fields.tm_isdst, -1);
}

TEST(SADateTimeTest, IsEmptyWithoutADate) {
  const SADateTime empty;
  EXPECT_EQ(empty.GetYear(), 0);
  EXPECT_EQ(empty.GetMonth(), 0);
  EXPECT_EQ(empty.GetDayOfWeek(), 0);
  EXPECT_EQ(empty.GetDayOfYear(), 0);
  const std::tm fields = empty;
  EXPECT_EQ(fields.tm_year, 0);
  EXPECT_EQ(fields.tm_mday, 0);
  EXPECT_EQ(fields.tm_yday, 0);
  EXPECT_EQ(fields.tm_isdst, -1);
}

TEST(SAExceptionTest, ReportsWhatHappened) {
  const SAException error(SA_DBMS_API_Error, 7, L"n\u00e4h");
  EXPECT_EQ(error.ErrClass(), SA_DBMS_API_Error);
  EXPECT_EQ(error.ErrNativeCode(), 7);
  EXPECT_EQ(Wide(error.ErrText()), L"n\u00e4h");
  EXPECT_STREQ(error.what(), "n\xC3\xA4h");
}

TEST(SAExceptionTest, IsCopiedWithoutThrowing) {
  static_assert(std::is_nothrow_copy_constructible_v<SAException>);
  static_assert(std::is_nothrow_copy_assignable_v<SAException>);
  SAException copy(SA_No_Error, 0, L"");
  {
    const SAException error(SA_Library_Error, 1, L"text");
    copy = error;
  }
  EXPECT_EQ(copy.ErrClass(), SA_Library_Error);
  EXPECT_STREQ(copy.what(), "text");
}

TEST(SAValueTest, TakesOneKindAtATime) {
  SAValue value;
  EXPECT_FALSE(value.isBound());
  value.setAsLong() = 5;
  EXPECT_EQ(value.kind(), SAValue::Kind::Long);
  EXPECT_EQ(value.boundLong(), 5);
  value.setAsString() = L"text";
  EXPECT_EQ(value.kind(), SAValue::Kind::String);
  EXPECT_EQ(Wide(value.boundString()), L"text");
  value.setAsNull();
  EXPECT_EQ(value.kind(), SAValue::Kind::Null);
  EXPECT_TRUE(value.isBound());
}

TEST(SAValueTest, StartsFromNothing) {
  SAValue value;
  value.setAsInt64() = -1;
  value.setAsShort();
  EXPECT_EQ(value.boundShort(), 0);
  value.setAsBool();
  EXPECT_FALSE(value.boundBool());
  value.setAsDouble();
  EXPECT_EQ(value.boundDouble(), 0.0);
  value.setAsString() = L"text";
  value.setAsNull();
  value.setAsString();
  EXPECT_EQ(Wide(value.boundString()), L"");
}

SAField Field(const pq::Cell& cell) { return SAField(&cell, L"name"); }

pq::Cell Cell(const char* text, unsigned type = 0) {
  return {text, static_cast<int>(std::strlen(text)), type};
}

TEST(SAFieldTest, ReadsItsCell) {
  pq::Cell cell = Cell("42");
  const SAField field = Field(cell);
  EXPECT_EQ(Wide(field.Name()), L"name");
  EXPECT_FALSE(field.isNull());
  EXPECT_EQ(field.asShort(), 42);
  EXPECT_EQ(field.asLong(), 42);
  EXPECT_EQ(field.asInt64(), 42);
  EXPECT_EQ(field.asDouble(), 42.0);
  EXPECT_TRUE(field.asBool());
  EXPECT_EQ(Wide(field.asString()), L"42");
  cell = Cell("2024-01-02");
  EXPECT_EQ(field.asDateTime().GetDay(), 2);
  cell = {};
  EXPECT_TRUE(field.isNull());
  EXPECT_EQ(field.asLong(), 0);
  EXPECT_EQ(Wide(field.asString()), L"");
}

TEST(SAFieldTest, ReadsBooleansAsNumbers) {
  constexpr unsigned kBool = 16;
  const pq::Cell yes = Cell("t", kBool), no = Cell("f", kBool), text = Cell("t");
  EXPECT_EQ(Field(yes).asShort(), 1);
  EXPECT_EQ(Field(yes).asDouble(), 1.0);
  EXPECT_EQ(Field(no).asInt64(), 0);
  EXPECT_NE(UsageErrorText([&] { Field(text).asLong(); }), L"");
}

TEST(SAFieldTest, NeverWraps) {
  const pq::Cell cell = Cell("2147483648");
  EXPECT_EQ(Field(cell).asInt64(), 2147483648);
  EXPECT_EQ(UsageErrorText([&] { Field(cell).asLong(); }),
            L"\"2147483648\" is out of the range of the type it is read as");
  EXPECT_NE(UsageErrorText([&] { Field(cell).asShort(); }), L"");
}

TEST(SAFieldTest, MendsMalformedText) {
  const pq::Cell cell = Cell("a\xC3");
  EXPECT_EQ(Wide(Field(cell).asString()), L"a\ufffd");
}

}  // namespace
