#include "Time.h"

#include <gtest/gtest.h>

namespace plant {
namespace {

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
  SetZone("+09:00");
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

TEST(Time, IsWrittenInTheZoneSet) {
  SetZone("UTC");
  EXPECT_EQ(FormatTime(1700000000123), "2023-11-14 22:13:20.123");
  EXPECT_EQ(FormatTime(1700000000005), "2023-11-14 22:13:20.005");
  EXPECT_EQ(FormatTime(1700000000000), "2023-11-14 22:13:20");
  EXPECT_EQ(FormatTime(-1), "1969-12-31 23:59:59.999");
  EXPECT_EQ(FormatTime(-62135596800000), "0001-01-01 00:00:00");
  SetZone("+01:00");
  EXPECT_EQ(FormatTime(1700000000000), "2023-11-14 23:13:20");
}

TEST(Time, TakesAnOffsetForAZone) {
  SetZone("+02:00");
  EXPECT_EQ(ParseTime("2016-07-01 02:00:00"), 1467331200000);
  SetZone("-0330");
  EXPECT_EQ(ParseTime("2016-06-30 20:30"), 1467331200000);
  EXPECT_EQ(ParseTime("2016-06-30 20:30", 1467331200000), 1467331200000);  // no clock is ever changed
  EXPECT_EQ(ParseTime("2016-07-01T00:00Z"), 1467331200000);
  SetZone("+05");
  EXPECT_EQ(FormatTime(1467331200000), "2016-07-01 05:00:00");
  for (const char* name : {"+", "+1", "-24:00", "+01:60", "+01:00 ", "+01:00Z", "+one"}) {
    EXPECT_THROW(SetZone(name), std::invalid_argument) << name;
  }
  SetZone("UTC");
  EXPECT_EQ(ParseTime("2016-07-01 00:00:00"), 1467331200000);
}

}  // namespace
}  // namespace plant
