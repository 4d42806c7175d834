// Rows in the server's binary format read as those in text do, bit by bit.

#include <bit>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <iterator>
#include <ostream>

#include "ClientTest.h"
#include "port/Utf8.h"
#include "server/Random.h"
#include "server/Zone.h"

namespace {

// Everything that can be read from a field; for an exception its text.
template <class Read>
std::wstring Outcome(Read read) {
  try {
    return read();
  } catch (const SAException& error) {
    return L"error: " + Wide(error.ErrText());
  }
}

std::wstring Fields(const SADateTime& t) {
  std::wstring text;
  for (const int field : {t.GetYear(), t.GetMonth(), t.GetDay(), t.GetHour(), t.GetMinute(), t.GetSecond(),
                          static_cast<int>(t.Fraction())}) {
    text += std::to_wstring(field) + L" ";
  }
  return text;
}

// Seconds from 1970 to the calendar fields, as if they were in UTC. Computed from the fields when the field
// does not give them.
std::wstring CalendarSeconds(const SAField& field) {
  sa_int64_t seconds = 0;
  if (field.readCalendarSeconds(seconds)) return std::to_wstring(seconds);
  using namespace std::chrono;
  const SADateTime t = field.asDateTime();
  if (t.GetMonth() == 0) return L"no date";
  const int cycles = t.GetYear() / 400;  // of the calendar
  const sys_days day = year(t.GetYear() % 400) / t.GetMonth() / t.GetDay();
  const std::int64_t days = day.time_since_epoch().count() + std::int64_t{cycles} * 146'097;
  return std::to_wstring(days * 86'400 + t.GetHour() * 3600 + t.GetMinute() * 60 + t.GetSecond());
}

// Whether the field has its own text, and a longer one.
std::wstring IsText(const SAField& field) {
  const std::string text = sys::ToUtf8(Wide(field.asString()));
  std::wstring read = L"before";
  field.readText(read);
  return (field.isText(text) && read == Wide(field.asString()) ? L"its own" : L"") +
         std::wstring(field.isText(text + "?") ? L" and another" : L"");
}

using Readings = std::vector<std::wstring>;

Readings AllReadings(const SAField& field) {
  return {
      field.isNull() ? L"null" : L"value",
      Outcome([&] { return Wide(field.asString()); }),
      Outcome([&] { return std::to_wstring(std::bit_cast<std::uint64_t>(field.asDouble())); }),
      Outcome([&] { return std::to_wstring(field.asInt64()); }),
      Outcome([&] { return std::to_wstring(field.asLong()); }),
      Outcome([&] { return std::to_wstring(field.asShort()); }),
      Outcome([&] { return std::to_wstring(field.asBool()); }),
      Outcome([&] { return Fields(field.asDateTime()); }),
      Outcome([&] { return CalendarSeconds(field); }),
      Outcome([&] { return IsText(field); }),
  };
}

// Without readings as numbers, which a time refuses with an exception; for many rows, exceptions take most of
// the time.
Readings ReadingsOfTime(const SAField& field) {
  return {Outcome([&] { return Wide(field.asString()); }),
          Outcome([&] { return Fields(field.asDateTime()); }),
          Outcome([&] { return CalendarSeconds(field); }), Outcome([&] { return IsText(field); })};
}

// Without texts, because the server sometimes writes a longer text for a double.
void DropTexts(std::vector<Readings>& rows) {
  for (Readings& readings : rows) {
    readings[1].clear();
    for (std::wstring& reading : readings) {
      if (reading.starts_with(L"error")) reading = L"error";
    }
  }
}

double Number(const SAString& text) {
  const std::wstring wide = Wide(text);
  return std::strtod(std::string(wide.begin(), wide.end()).c_str(), nullptr);
}

class Binary : public ClientTest {
 protected:
  void SetUp() override {
    ClientTest::SetUp();
    Connect();
  }

  // The values of the first column of all rows.
  std::vector<Readings> Read(const std::wstring& query, bool inBinary,
                             Readings (*read)(const SAField&) = AllReadings) {
    SACommand command(&connection, query.c_str());
    if (inBinary) command.setBinaryResults(false);
    command.Execute();
    std::vector<Readings> rows;
    while (command.FetchNext()) rows.push_back(read(command.Field(1)));
    return rows;
  }

  void ExpectTheSame(const std::wstring& query, std::size_t rows,
                     Readings (*read)(const SAField&) = AllReadings) {
    const auto inText = Read(query, false, read);
    const auto inBinary = Read(query, true, read);
    ASSERT_EQ(inText.size(), rows);
    for (const auto& readings : inText) ASSERT_EQ(readings.back(), L"its own");
    ASSERT_EQ(inBinary.size(), rows);
    for (std::size_t i = 0; i < rows; ++i) ASSERT_EQ(inBinary[i], inText[i]) << i;
  }

  // A table with one column of a type, which may be NULL.
  void Fill(const std::string& type, const std::vector<std::string>& values) {
    std::string list;
    for (const std::string& value : values) list += "('" + value + "'),";
    Run("drop table if exists v; create table v (v " + type + "); insert into v values " + list + "(null)");
  }
  void ExpectTheSameOf(const std::string& type, const std::vector<std::string>& values) {
    Fill(type, values);
    ExpectTheSame(L"select v from v", values.size() + 1);
  }

  Random random{15};
};

TEST_F(Binary, Doubles) {
  std::vector<std::string> values = {"0",
                                     "-0",
                                     "NaN",
                                     "Infinity",
                                     "-Infinity",
                                     "1e15",
                                     "123456789012345",
                                     "0.0001",
                                     "0.00001",
                                     "5e-324",
                                     "-2.2250738585072014e-308",
                                     "1.7976931348623157e308",
                                     "9007199254740993",
                                     "32767.5",
                                     "-32769"};
  char text[32];
  while (values.size() < 5000) {
    values.emplace_back(text, std::to_chars(text, std::end(text), random.Double()).ptr);
  }
  while (values.size() < 6000) {  // denormal
    const auto bits = static_cast<std::uint64_t>(random.Between(1, (INT64_C(1) << 52) - 1));
    values.emplace_back(text, std::to_chars(text, std::end(text), std::bit_cast<double>(bits)).ptr);
  }
  Fill("float8", values);
  auto inText = Read(L"select v from v", false);
  auto inBinary = Read(L"select v from v", true);
  DropTexts(inText);
  DropTexts(inBinary);
  ASSERT_EQ(inBinary.size(), values.size() + 1);
  for (std::size_t i = 0; i < inBinary.size(); ++i) ASSERT_EQ(inBinary[i], inText[i]) << i;
}

TEST_F(Binary, TextsOfDoublesReadAsTheDoubles) {
  SACommand command(&connection, L"select power(-1.37::float8, i) from generate_series(-2000, 2000) i");
  command.setBinaryResults(false);
  command.Execute();
  int rows = 0;
  for (; command.FetchNext(); ++rows) {
    const SAField& field = command.Field(1);
    ASSERT_EQ(std::bit_cast<std::uint64_t>(Number(field.asString())),
              std::bit_cast<std::uint64_t>(field.asDouble()));
  }
  EXPECT_EQ(rows, 4001);
}

TEST_F(Binary, Integers) {
  ExpectTheSameOf("int2", {"-32768", "-1", "0", "32767"});
  ExpectTheSameOf("int4", {"-2147483648", "-32769", "0", "32768", "2147483647"});
  ExpectTheSameOf("int8", {"-9223372036854775808", "2147483648", "9223372036854775807"});
  ExpectTheSameOf("bool", {"true", "false"});
}

TEST_F(Binary, Numerics) {
  std::vector<std::string> values = {"NaN",
                                     "Infinity",
                                     "-Infinity",
                                     "0.000",
                                     "9007199254740993",
                                     "0.1",
                                     "-0.00001",
                                     "1" + std::string(400, '0'),
                                     "0." + std::string(400, '0') + "1",
                                     "12345678901234567890.5",
                                     "9007199254740992.5",
                                     "4503599627370497.5"};
  while (values.size() < 3000) {
    std::string value = random.Between(0, 1) != 0 ? "-" : "";
    for (auto digits = random.Between(1, 24); digits > 0; --digits)
      value += std::to_string(random.Between(0, 9));
    value += '.';
    for (auto digits = random.Between(0, 24); digits > 0; --digits)
      value += std::to_string(random.Between(0, 9));
    values.push_back(value);
  }
  ExpectTheSameOf("numeric", values);
}

TEST_F(Binary, EpochSecondsOfInstants) {
  ExpectTheSame(
      L"select extract(epoch from t) from (select to_timestamp(i * 7777777.123457) t from "
      L"generate_series(-2000, 2000) i union all values (timestamptz 'infinity'), ('-infinity'), (null)) s",
      4004);
}

TEST_F(Binary, Texts) {
  for (const char* type : {"text", "varchar", "char(12)", "name"}) {
    ExpectTheSameOf(type, {"", "1.5", "a\xE2\x82\xAC\xF0\x9F\x98\x80", "t", "2023-11-14", "  7"});
  }
}

struct Zones {
  const char* process;
  const char* session;
};

void PrintTo(const Zones& zones, std::ostream* out) { *out << zones.process << ' ' << zones.session; }

// Also in zones whose calendar fields only the server can compute.
class BinaryTimes : public Binary, public testing::WithParamInterface<Zones> {
 protected:
  Zone zone{GetParam().process, GetParam().session};
};

TEST_P(BinaryTimes, ReadTheSame) {
  std::vector<std::string> values = {"infinity",
                                     "-infinity",
                                     "4713-01-01 00:00:00+00 BC",
                                     "0001-12-31 23:59:59+00 BC",
                                     "294276-12-30 23:59:59.999999+00",
                                     "1883-11-18 12:00:00+00",
                                     "1970-01-01 00:00:00+00"};
  for (int i = 0; i < 3000; ++i) {
    values.push_back("epoch " + std::to_string(random.Between(-6'000'000'000, 6'000'000'000)));
  }
  std::string list;
  for (const std::string& value : values) {
    list += value.starts_with("epoch ") ? "(to_timestamp(" + value.substr(6) + ".5)),"
                                        : "(timestamptz '" + value + "'),";
  }
  Run("create table v (v timestamptz); insert into v values " + list + "(null)");
  ExpectTheSame(L"select v from v", values.size() + 1);
}

// Each hour around the clock changes of three years.
TEST_P(BinaryTimes, ReadTheSameAroundClockChanges) {
  ExpectTheSame(
      L"select t from generate_series(timestamptz '2021-01-01 00:30:00+00', '2023-12-31 23:30:00+00', '1 hour') t",
      26280, ReadingsOfTime);
}

INSTANTIATE_TEST_SUITE_P(In, BinaryTimes,
                         testing::Values(Zones{"UTC", "UTC"}, Zones{"Europe/Berlin", "UTC"},
                                         Zones{"America/St_Johns", "America/St_Johns"},
                                         Zones{"Africa/Casablanca", "Africa/Casablanca"},
                                         Zones{"Asia/Kolkata", "Asia/Kolkata"}, Zones{"UTC", "Asia/Kolkata"},
                                         Zones{"No/Zone", "Europe/Berlin"},
                                         Zones{"Europe/Berlin", "Europe/London"}),
                         [](const auto& zones) {
                           std::string name = std::string(zones.param.process) + "_" + zones.param.session;
                           for (char& c : name) c = c == '/' ? '_' : c;
                           return name;
                         });

}  // namespace
