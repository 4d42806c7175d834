#include "Time.h"

#include <gtest/gtest.h>

namespace plant {
namespace {

constexpr std::int64_t kHour = 3'600'000;

struct Reading {
  const char* text;
  std::int64_t time_ms;
};

std::string ErrorOf(const std::string& text) {
  try {
    return "reads as " + std::to_string(ParseTime(text));
  } catch (const TimeError& error) {
    return error.what();
  }
}

TEST(Time, ReadsWhatNamesItsZone) {
  SetZone("Asia/Tokyo");
  for (const Reading& reading : {Reading{"1970-01-01T00:00:00Z", 0},
                                 {"1970-01-01 00:00Z", 0},
                                 {"2023-11-14T22:13:20Z", 1700000000000},
                                 {"2023-11-14T22:13:20.1Z", 1700000000100},
                                 {"2023-11-14T22:13:20.12z", 1700000000120},
                                 {"2023-11-14T22:13:20.123Z", 1700000000123},
                                 {"2023-11-14T22:13:20.123000000Z", 1700000000123},
                                 {"2023-11-14T22:13:20.007+00:00", 1700000000007},
                                 {"2023-11-15 00:13:20+02:00", 1700000000000},
                                 {"2023-11-15 00:13:20+0200", 1700000000000},
                                 {"2023-11-15 00:13:20+02", 1700000000000},
                                 {"2023-11-14T18:43:20-03:30", 1700000000000},
                                 {"1969-12-31T23:59:59.999Z", -1},
                                 {"2016-02-29T00:00:00Z", 1456704000000},
                                 {"2000-02-29T00:00:00Z", 951782400000}}) {
    EXPECT_EQ(ParseTime(reading.text), reading.time_ms) << reading.text;
  }
}

TEST(Time, ReadsLocalTimesOfTheZoneSet) {
  SetZone("UTC");
  EXPECT_EQ(ParseTime("2016-07-01 00:00:00"), 1467331200000);
  SetZone("Europe/Berlin");
  EXPECT_EQ(ParseTime("2016-07-01 00:00:00"), 1467331200000 - 2 * kHour);
  EXPECT_EQ(ParseTime("2016-12-01 00:00:00"), ParseTime("2016-11-30T23:00:00Z"));
  SetZone("Asia/Kathmandu");
  EXPECT_EQ(ParseTime("2016-07-01 05:45"), 1467331200000);
}

TEST(Time, TakesAnAmbiguousTimeForTheEarlierUnlessThatHasPassed) {
  SetZone("Europe/Berlin");
  const std::int64_t first = ParseTime("2016-10-30T00:30:00Z");
  EXPECT_EQ(ParseTime("2016-10-30 02:30"), first);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first - 1), first);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first + kHour / 2), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first + 5 * kHour), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 03:00", first), ParseTime("2016-10-30T02:00:00Z"));
}

TEST(Time, AscendsThroughTheEndOfSummerTime) {
  SetZone("America/New_York");
  std::optional<std::int64_t> previous;
  std::int64_t expected = ParseTime("2021-11-07T04:30:00Z");
  for (const char* text : {"2021-11-07 00:30", "2021-11-07 01:00", "2021-11-07 01:30", "2021-11-07 01:00",
                           "2021-11-07 01:30", "2021-11-07 02:00"}) {
    previous = ParseTime(text, previous);
    EXPECT_EQ(*previous, expected) << text;
    expected += kHour / 2;
  }
}

TEST(Time, RefusesLocalTimesThatTheZoneSkips) {
  const std::string skipped = "does not exist in this time zone: its clocks were set forward";
  SetZone("Europe/Berlin");
  EXPECT_EQ(ErrorOf("2017-03-26 02:00:00"), skipped);
  EXPECT_EQ(ErrorOf("2017-03-26 02:59:59.999"), skipped);
  EXPECT_EQ(ParseTime("2017-03-26 01:59:59.999"), ParseTime("2017-03-26T00:59:59.999Z"));
  EXPECT_EQ(ParseTime("2017-03-26 03:00"), ParseTime("2017-03-26T01:00:00Z"));
  SetZone("Australia/Lord_Howe");  // half an hour only
  EXPECT_EQ(ErrorOf("2021-10-03 02:15"), skipped);
  EXPECT_EQ(ParseTime("2021-10-03 02:30"), ParseTime("2021-10-02T15:30:00Z"));
  SetZone("Pacific/Apia");  // a whole day
  EXPECT_EQ(ErrorOf("2011-12-30 12:00"), skipped);
  EXPECT_EQ(ParseTime("2011-12-31 00:00"), ParseTime("2011-12-30T10:00:00Z"));
}

TEST(Time, SaysWhatIsWrong) {
  SetZone("UTC");
  for (const char* text : {"",
                           " ",
                           "yesterday",
                           "2016",
                           "2016-07-01",
                           "2016-07-01T",
                           "2016-07-01 5:00",
                           "16-07-01 05:00",
                           "2016-07-01  05:00",
                           "2016-07-01 05:00:",
                           "2016-07-01 05:00:00.",
                           "2016-07-01 05:00:00,5",
                           "2016-07-01 05:00:00 Z",
                           "2016-07-01 05:00:00ZZ",
                           "2016-07-01 05:00:00+1",
                           "2016-07-01 05:00:00+01:",
                           "2016-07-01 05:00:00 ",
                           "2016/07/01 05:00",
                           "1467331200",
                           "-016-07-01 05:00"}) {
    EXPECT_EQ(ErrorOf(text), "is not a time") << text;
  }
  for (const char* text : {"2015-02-29 00:00", "1900-02-29 00:00", "2016-02-30 00:00", "2016-13-01 00:00",
                           "2016-00-01 00:00", "2016-04-31 00:00", "2016-01-00 00:00"}) {
    EXPECT_EQ(ErrorOf(text), "is not a day of the calendar") << text;
  }
  for (const char* text : {"2016-07-01 24:00", "2016-07-01 23:60", "2016-07-01 23:59:60"}) {
    EXPECT_EQ(ErrorOf(text), "is not a time of the day") << text;
  }
  EXPECT_EQ(ErrorOf("2016-07-01 05:00:00.1234Z"), "is finer than a millisecond");
  EXPECT_EQ(ErrorOf("2016-07-01 05:00:00+24:00"), "has an offset that no zone has");
  EXPECT_EQ(ErrorOf("2016-07-01 05:00:00-01:60"), "has an offset that no zone has");
}

TEST(Time, KnowsZonesByTheirNames) {
  for (const char* name : {"", "Europe/Bremen", "CET-1CEST", "/etc/passwd", "../../../etc/localtime",
                           "Europe", ":Europe/Berlin", "Europe/Berlin\n"}) {
    EXPECT_THROW(SetZone(name), std::invalid_argument) << name;
  }
  EXPECT_NO_THROW(SetZone("America/Argentina/Buenos_Aires"));
  EXPECT_NO_THROW(SetZone("Etc/GMT+5"));
}

TEST(Time, IsWrittenInTheZoneSet) {
  SetZone("UTC");
  EXPECT_EQ(FormatTime(1700000000123), "2023-11-14 22:13:20.123");
  EXPECT_EQ(FormatTime(1700000000005), "2023-11-14 22:13:20.005");
  EXPECT_EQ(FormatTime(1700000000000), "2023-11-14 22:13:20");
  EXPECT_EQ(FormatTime(-1), "1969-12-31 23:59:59.999");
  SetZone("Europe/Berlin");
  EXPECT_EQ(FormatTime(1700000000000), "2023-11-14 23:13:20");
}

}  // namespace
}  // namespace plant
