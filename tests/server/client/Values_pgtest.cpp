// Values as the server delivers them.

#include <cmath>

#include "ClientTest.h"
#include "WideText.h"

namespace {

class Values : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Connect();
  }

  const SAField& Get(const std::wstring& expression) {
    command.setCommandText((L"select " + expression).c_str());
    command.Execute();
    EXPECT_TRUE(command.FetchNext());
    return command.Field(1);
  }

  SACommand command{&connection};
};

TEST_F(Values, ReadNullAsNothing) {
  const SAField& null = Get(L"null::int");
  EXPECT_TRUE(null.isNull());
  EXPECT_FALSE(null.asBool());
  EXPECT_EQ(null.asShort(), 0);
  EXPECT_EQ(null.asLong(), 0);
  EXPECT_EQ(null.asInt64(), 0);
  EXPECT_EQ(null.asDouble(), 0.0);
  EXPECT_TRUE(null.asString().IsEmpty());
  EXPECT_EQ(null.asDateTime().GetYear(), 0);
  EXPECT_EQ(null.asDateTime().GetMonth(), 0);
}

TEST_F(Values, ReadIntegers) {
  EXPECT_EQ(Get(L"'-32768'::int2").asShort(), -32768);
  EXPECT_EQ(Get(L"2147483647").asLong(), 2147483647);
  EXPECT_EQ(Get(L"'-9223372036854775808'::int8").asInt64(), INT64_MIN);
  EXPECT_EQ(Get(L"count(*) from pg_class where false").asShort(), 0);
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"32768").asShort());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"2147483648").asLong());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"9223372036854775808").asInt64());
}

TEST_F(Values, CutDecimals) {
  EXPECT_EQ(Get(L"extract(epoch from timestamptz '2023-11-14 22:13:20.9+00')").asInt64(), 1700000000);
  EXPECT_EQ(Get(L"-7.99").asLong(), -7);
  EXPECT_EQ(Get(L"1.7e9::float8").asLong(), 1700000000);
  EXPECT_EQ(Get(L"1e15::float8 * 10").asInt64(), 10000000000000000);
}

TEST_F(Values, ReadDoubles) {
  EXPECT_EQ(Get(L"0.1::float8").asDouble(), 0.1);
  EXPECT_EQ(Get(L"5e-324::float8").asDouble(), 5e-324);
  EXPECT_EQ(Get(L"1.7976931348623157e308::float8").asDouble(), 1.7976931348623157e308);
  EXPECT_TRUE(std::isnan(Get(L"'NaN'::float8").asDouble()));
  EXPECT_EQ(Get(L"'-Infinity'::float8").asDouble(), -INFINITY);
  EXPECT_EQ(Get(L"12345678901234567890.5").asDouble(), 12345678901234567890.5);
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"10 ^ 400::numeric").asDouble());
}

TEST_F(Values, ReadBooleans) {
  EXPECT_TRUE(Get(L"true").asBool());
  EXPECT_FALSE(Get(L"false").asBool());
  EXPECT_TRUE(Get(L"-1").asBool());
  EXPECT_FALSE(Get(L"0.00").asBool());
  EXPECT_EQ(Get(L"true").asLong(), 1);
  EXPECT_EQ(Get(L"true").asDouble(), 1.0);
  EXPECT_EQ(Wide(Get(L"true").asString()), L"t");
}

TEST_F(Values, RefuseWhatIsNoNumber) {
  const SAException error = Thrown([&] { Get(L"'12 apples'").asLong(); });
  EXPECT_EQ(error.ErrClass(), SA_Library_Error);
  EXPECT_EQ(Wide(error.ErrText()), L"\"12 apples\" is no number");
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"''").asDouble());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"'yes'").asBool());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"'NaN'::float8").asInt64());
}

TEST_F(Values, ReadAnythingAsTheServersText) {
  EXPECT_EQ(Wide(Get(L"1.50").asString()), L"1.50");
  EXPECT_EQ(Wide(Get(L"array[1, null, 3]").asString()), L"{1,NULL,3}");
  EXPECT_EQ(Wide(Get(L"'{\"a\": 1}'::jsonb").asString()), L"{\"a\": 1}");
  EXPECT_EQ(Wide(Get(L"interval '10 days'").asString()), L"10 days");
  EXPECT_EQ(Wide(Get(L"decode('00ff', 'hex')").asString()), L"\\x00ff");
  EXPECT_EQ(Wide(Get(L"'a  '::char(3)").asString()), L"a  ");
}

TEST_F(Values, ReadDatesInTheSessionsTimeZone) {
  Ask(L"set time zone 'Asia/Kolkata'");
  const SADateTime zoned = Get(L"timestamptz '2024-02-29 20:00:00.123456+00'").asDateTime();
  EXPECT_EQ(zoned.GetYear(), 2024);
  EXPECT_EQ(zoned.GetMonth(), 3);
  EXPECT_EQ(zoned.GetDay(), 1);
  EXPECT_EQ(zoned.GetHour(), 1);
  EXPECT_EQ(zoned.GetMinute(), 30);
  EXPECT_EQ(zoned.GetSecond(), 0);
  EXPECT_EQ(zoned.Fraction(), 123456000u);
}

TEST_F(Values, ReadDatesOfEveryAge) {
  EXPECT_EQ(Get(L"date '0044-03-15 BC'").asDateTime().GetYear(), -43);
  EXPECT_EQ(Get(L"timestamp '294276-12-31 23:59:59.999999'").asDateTime().GetYear(), 294276);
  EXPECT_EQ(Get(L"date '5874897-12-31'").asDateTime().GetYear(), 5874897);
  EXPECT_EQ(Get(L"timestamptz '4713-01-01 00:00:00+00 BC'").asDateTime().GetYear() < -4700, true);
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"timestamptz 'infinity'").asDateTime());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"date '-infinity'").asDateTime());
  EXPECT_SA_ERROR(SA_Library_Error, 0, Get(L"time '10:20:30'").asDateTime());
}

// Compares each day with the server's calendar.
TEST_F(Values, CountDaysAsTheServerDoes) {
  command.setCommandText(
      L"select d::date, extract(dow from d), extract(doy from d) from generate_series("
      L"timestamp '0005-01-01 BC', timestamp '2030-01-01', interval '97 days 1 hour') d");
  command.Execute();
  int rows = 0;
  for (; command.FetchNext(); ++rows) {
    const SADateTime date = command.Field(1).asDateTime();
    const std::tm fields = date;
    ASSERT_EQ(date.GetDayOfWeek(), command.Field(2).asLong() + 1);
    ASSERT_EQ(date.GetDayOfYear(), command.Field(3).asLong());
    ASSERT_EQ(fields.tm_wday, command.Field(2).asLong());
    ASSERT_EQ(fields.tm_yday, command.Field(3).asLong() - 1);
    ASSERT_EQ(fields.tm_year, date.GetYear() - 1900);
    ASSERT_EQ(fields.tm_mon, date.GetMonth() - 1);
  }
  EXPECT_GT(rows, 7000);
}

// Two characters of every plane; some of the first plane have a special meaning.
std::u32string CharactersOfEveryPlane() {
  std::u32string characters = U"\u00e4\u20ac\ufffd\u200b'\"\\:1$";
  for (char32_t plane = 0; plane <= 16; ++plane) {
    characters += plane * 0x10000 + 0x1234;
    characters += plane * 0x10000 + 0xFFFD;
  }
  return characters;
}

TEST_F(Values, CarryTextOfEveryPlaneBothWays) {
  const std::u32string characters = CharactersOfEveryPlane();
  const std::wstring text = Wide(characters);
  SACommand bound(&connection,
                  L"select :1::text, string_agg(ascii(c)::text, ' ') "
                  L"from regexp_split_to_table(:1, '') c");
  bound << text.c_str();
  bound.Execute();
  ASSERT_TRUE(bound.FetchNext());
  EXPECT_EQ(::Wide(bound.Field(1).asString()), text);
  std::wstring points;
  for (const char32_t c : characters) {
    points += (points.empty() ? L"" : L" ") + std::to_wstring(static_cast<std::uint32_t>(c));
  }
  EXPECT_EQ(::Wide(bound.Field(2).asString()), points);
}

TEST_F(Values, CarryTextOfEveryPlaneInStatementsAndNames) {
  const std::wstring text = L"\u00e4\u20ac\u4e2d\U0001F600\U0010FFFD";
  const SAField& field = Get(L"'" + text + L"' as \"" + text + L"\"");
  EXPECT_EQ(::Wide(field.asString()), text);
  EXPECT_EQ(::Wide(field.Name()), text);
  EXPECT_EQ(&command.Field(text.c_str()), &field);
}

TEST_F(Values, MendTextThatIsMalformed) {
  const std::wstring lone(1, static_cast<wchar_t>(0xD800));
  SACommand bound(&connection, L"select :1::text");
  bound << lone.c_str();
  bound.Execute();
  ASSERT_TRUE(bound.FetchNext());
  EXPECT_EQ(::Wide(bound.Field(1).asString()), L"\ufffd");
}

}  // namespace
