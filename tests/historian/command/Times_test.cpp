#include "historian/command/csv/Times.h"

#include <gtest/gtest.h>

#include <string>

#include "historian/command/Failure.h"
#include "historian/command/csv/Numbers.h"

using namespace historian::command;
using historian::Time;

namespace {

// The instant as UTC text, or the error.
std::string Read(const std::string& format, const std::string& text, const std::string& zone = "UTC",
                 bool truncate = false) {
  const auto in = FindZone(zone);
  Time time;
  std::string problem;
  const TimeReader reader(TimeFormatNamed(format), *in, truncate);
  return reader.Read(text, time, problem) ? FormatUtc(time) : problem;
}

struct Case {
  const char* format;
  const char* text;
  const char* expected;
};

class Times : public testing::TestWithParam<Case> {};

TEST_P(Times, AreRead) { EXPECT_EQ(Read(GetParam().format, GetParam().text), GetParam().expected); }

INSTANTIATE_TEST_SUITE_P(
    Good, Times,
    testing::Values(
        Case{"iso", "2026-11-21 20:40:05", "2026-11-21T20:40:05Z"},
        Case{"iso", "2026-11-21T20:40:05.123Z", "2026-11-21T20:40:05.123Z"},
        Case{"iso", "2026-11-21T20:40:05,5", "2026-11-21T20:40:05.500Z"},
        Case{"iso", "2026-11-21T20:40+01:00", "2026-11-21T19:40:00Z"},
        Case{"iso", "2026-11-21 20:40:05 -0530", "2026-11-22T02:10:05Z"},
        Case{"iso", "2026-11-21 20:40:05+02", "2026-11-21T18:40:05Z"},
        Case{"iso", "2026-11-21 20:40:05 UTC", "2026-11-21T20:40:05Z"},
        Case{"iso", "2026-11-21 24:00:00", "2026-11-22T00:00:00Z"},
        Case{"iso", "2026-11-21", "2026-11-21T00:00:00Z"},
        Case{"german", "21.11.2026 20:40:05", "2026-11-21T20:40:05Z"},
        Case{"german", "1.2.26, 6:07", "2026-02-01T06:07:00Z"},
        Case{"us", "11/21/2026 8:40:05 PM", "2026-11-21T20:40:05Z"},
        Case{"us", "11/21/2026 12:00:05.250 AM", "2026-11-21T00:00:05.250Z"},
        Case{"us", "11/21/2026 20:40", "2026-11-21T20:40:00Z"},
        Case{"eu", "21/11/2026 20:40", "2026-11-21T20:40:00Z"},
        Case{"ymd", "2026/11/21 20:40", "2026-11-21T20:40:00Z"},
        Case{"month-name", "21-Nov-26 20:40:05.7", "2026-11-21T20:40:05.700Z"},
        Case{"month-name", "21 nov 2026 20:40", "2026-11-21T20:40:00Z"},
        Case{"epoch", "1795293605", "2026-11-21T20:40:05Z"},
        Case{"epoch", "1795293605.25", "2026-11-21T20:40:05.250Z"},
        Case{"epoch-ms", "1795293605123", "2026-11-21T20:40:05.123Z"},
        Case{"excel", "46347.5", "2026-11-21T12:00:00Z"}, Case{"excel", "46347", "2026-11-21T00:00:00Z"},
        // 20:40:05 is 0.8611689814814... of a day, and is written here with different numbers of decimals.
        Case{"excel", "46347.86117", "2026-11-21T20:40:05Z"},
        Case{"excel", "46347,861169", "2026-11-21T20:40:05Z"},
        Case{"excel", "46347.861168981", "2026-11-21T20:40:05Z"},
        Case{"excel", "46347.8611704051", "2026-11-21T20:40:05.123Z"},
        Case{"%d%m%Y %H%M", "21112026 2040", "2026-11-21T20:40:00Z"},
        Case{"%Y-%m-%d %H:%M:%S %z", "2026-11-21 20:40:05 +0100", "2026-11-21T19:40:05Z"}));

INSTANTIATE_TEST_SUITE_P(
    Wrong, Times,
    testing::Values(Case{"iso", "", "is empty, where a time should be"}, Case{"iso", "noon", "is not a time"},
                    Case{"iso", "2026-02-30 10:00", "is not a time"},
                    Case{"iso", "2026-11-21 25:00", "is not a time of day"},
                    Case{"iso", "2026-11-21 20:60", "is not a time of day"},
                    Case{"iso", "2026-11-21 20:40:05 CET", "is not a time"},
                    Case{"iso", "2026-11-21 20:40:05.1234",
                         "is finer than a millisecond (--truncate-times cuts it)"},
                    Case{"iso", "1969-12-31 23:59", "is before 1970, where the store begins"},
                    Case{"us", "21/11/2026 20:40", "is not a time"},
                    Case{"us", "11/21/2026 13:40 PM", "is not a time of day"},
                    Case{"epoch", "noon", "is not a time in epoch seconds or milliseconds"},
                    Case{"epoch", "1795293605.", "is not a time in epoch seconds or milliseconds"},
                    Case{"excel", "21.11.2026", "is not a time in days, as spreadsheets count them"},
                    Case{"excel", "-46347", "is not a time in days, as spreadsheets count them"},
                    Case{"excel", "2958466", "is not a time in days, as spreadsheets count them"},
                    Case{"excel", "25569", "is before 1970, where the store begins"},
                    Case{"%d%m%Y %H%M", "2026", "is not a time of the format given"},
                    Case{"%d%m%Y", "21112026 2040", "continues after a time in the format given"}));

TEST(Times, AreCutToMillisecondsOnRequest) {
  EXPECT_EQ(Read("iso", "2026-11-21 20:40:05.123999", "UTC", true), "2026-11-21T20:40:05.123Z");
  EXPECT_EQ(Read("epoch", "1795293605.0005", "UTC", true), "2026-11-21T20:40:05Z");
}

TEST(Times, WithoutAZoneAreInTheGivenOne) {
  EXPECT_EQ(Read("iso", "2026-07-01 12:00", "+05:30"), "2026-07-01T06:30:00Z");
  EXPECT_EQ(Read("iso", "2026-07-01 12:00", "-0800"), "2026-07-01T20:00:00Z");
  EXPECT_EQ(Read("iso", "2026-07-01 12:00Z", "+05:30"), "2026-07-01T12:00:00Z");
  EXPECT_EQ(Read("epoch", "1795293605", "+05:30"), "2026-11-21T20:40:05Z");
  EXPECT_EQ(Read("excel", "46347.5", "+05:30"), "2026-11-21T06:30:00Z");
}

TEST(Times, OfUnknownZonesAreRefused) {
  EXPECT_THROW(FindZone("Europe/Atlantis"), Refusal);
  EXPECT_THROW(FindZone("+99:00"), Refusal);
  EXPECT_THROW(FindZone(""), Refusal);
}

TEST(TimeFormats, ThatFitAreFound) {
  const auto names = [](const std::vector<std::string>& texts) {
    std::string found;
    for (const auto& format : FormatsOf(texts)) found += NameOf(format) + ' ';
    return found;
  };
  EXPECT_EQ(names({"2026-11-21 20:40"}), "iso ");
  EXPECT_EQ(names({"01.02.2026 20:40", "21.02.2026 20:40"}), "german ");
  EXPECT_EQ(names({"01/02/2026 20:40"}), "us eu ");
  EXPECT_EQ(names({"01/02/2026 20:40", "01/13/2026 20:40"}), "us ");
  EXPECT_EQ(names({"13/01/2026 20:40"}), "eu ");
  EXPECT_EQ(names({"1795293605"}), "epoch ");
  EXPECT_EQ(names({"1795293605123"}), "epoch-ms ");
  EXPECT_EQ(names({"21.5"}), "");
  EXPECT_EQ(names({"46347.5"}), "");
  EXPECT_EQ(names({"2026-11-21", "21.11.2026"}), "");
}

TEST(TimeFormats, WithoutAMeaningAreRefused) { EXPECT_THROW(TimeFormatNamed("swatch"), Refusal); }

TEST(ReadTimeArgument, TakesTimesAndAges) {
  const auto zone = FindZone("+01:00");
  EXPECT_EQ(FormatUtc(ReadTimeArgument("--from", "2026-11-21 20:40", *zone)), "2026-11-21T19:40:00Z");
  const Time now = ReadTimeArgument("--to", "now", *zone);
  EXPECT_LT(ReadTimeArgument("--from", "1h", *zone), now);
  EXPECT_LT(ReadTimeArgument("--from", "7d", *zone), ReadTimeArgument("--from", "6d", *zone));
  EXPECT_THROW(ReadTimeArgument("--from", "yesterday", *zone), Refusal);
  EXPECT_THROW(ReadTimeArgument("--from", "-1h", *zone), Refusal);
}

TEST(FormatExact, WritesTheOffsetAndTheFraction) {
  using namespace std::chrono;
  const sys_time<microseconds> time(microseconds(1'795'293'605'123'456));
  EXPECT_EQ(FormatExact(time, *FindZone("UTC")), "2026-11-21T20:40:05.123456Z");
  EXPECT_EQ(FormatExact(time, *FindZone("-05:30")), "2026-11-21T15:10:05.123456-05:30");
  EXPECT_EQ(FormatExact(floor<seconds>(time), *FindZone("+01:00")), "2026-11-21T21:40:05+01:00");
}

std::string ReadNumber(char decimal, const std::string& text, std::vector<std::string> null_words = {}) {
  double value = 0;
  std::string problem;
  switch (NumberReader(decimal, std::move(null_words)).Read(text, value, problem)) {
    case NumberReader::Kind::Number: return std::to_string(value);
    case NumberReader::Kind::Null: return "null";
    case NumberReader::Kind::Empty: return "empty";
    case NumberReader::Kind::Wrong: return problem;
  }
  return {};
}

TEST(Numbers, AreRead) {
  EXPECT_EQ(ReadNumber('.', "21.5"), "21.500000");
  EXPECT_EQ(ReadNumber('.', " +7 "), "7.000000");
  EXPECT_EQ(ReadNumber('.', "-1.5E+3"), "-1500.000000");
  EXPECT_EQ(ReadNumber('.', ".5"), "0.500000");
  EXPECT_EQ(ReadNumber(',', "21,5"), "21.500000");
  EXPECT_EQ(ReadNumber(',', "-7"), "-7.000000");
}

TEST(Numbers, MayBeMissing) {
  for (const char* word : {"NA", "n/a", "NULL", "NaN", "Bad", "-", "---", "None", "No Data"}) {
    EXPECT_EQ(ReadNumber('.', word), "null") << word;
  }
  EXPECT_EQ(ReadNumber('.', "  "), "empty");
  EXPECT_EQ(ReadNumber('.', "-9999", {"-9999"}), "null");
  EXPECT_EQ(ReadNumber('.', "kaputt", {"KAPUTT"}), "null");
}

TEST(Numbers, ThatAreInvalidNameTheOptionThatHelps) {
  EXPECT_EQ(ReadNumber('.', "21,5"), "is a number with a decimal comma (--decimal comma)");
  EXPECT_EQ(ReadNumber(',', "21.5"), "is a number with a decimal point (--decimal point)");
  EXPECT_EQ(ReadNumber('.', "1e999"), "is outside the range of a double");
  for (const char* text : {"on", "1.2.3", "5 bar", "inf", "0x10", "1.234,5"}) {
    EXPECT_EQ(
        ReadNumber('.', text),
        "is not a number (--null WORD for a word that means none, --ignore COLUMN for a column of texts)")
        << text;
  }
}

}  // namespace
