// Zones by their IANA names, which only some platforms have.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>

#include "PlantFile.h"
#include "Time.h"
#include "platform/Process.h"

namespace plant {
namespace {

constexpr std::int64_t kHour = 3'600'000;

std::string ErrorOf(const std::string& text) {
  try {
    return "reads as " + std::to_string(ParseTime(text));
  } catch (const TimeError& error) {
    return error.what();
  }
}

TEST(NamedZones, ReadLocalTimes) {
  SetZone("Europe/Berlin");
  EXPECT_EQ(ParseTime("2016-07-01 00:00:00"), 1467331200000 - 2 * kHour);
  EXPECT_EQ(ParseTime("2016-12-01 00:00:00"), ParseTime("2016-11-30T23:00:00Z"));
  SetZone("Asia/Kathmandu");
  EXPECT_EQ(ParseTime("2016-07-01 05:45"), 1467331200000);
  EXPECT_EQ(FormatTime(1467331200000), "2016-07-01 05:45:00");
}

TEST(NamedZones, TakeAnAmbiguousTimeForTheEarlierUnlessThatHasPassed) {
  SetZone("Europe/Berlin");
  const std::int64_t first = ParseTime("2016-10-30T00:30:00Z");
  EXPECT_EQ(ParseTime("2016-10-30 02:30"), first);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first - 1), first);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first + kHour / 2), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 02:30", first + 5 * kHour), first + kHour);
  EXPECT_EQ(ParseTime("2016-10-30 03:00", first), ParseTime("2016-10-30T02:00:00Z"));
}

TEST(NamedZones, AscendThroughTheEndOfSummerTime) {
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

TEST(NamedZones, RefuseLocalTimesThatAreSkipped) {
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

TEST(NamedZones, AreKnownByTheirNames) {
  for (const char* name : {"", "Europe/Bremen", "CET-1CEST", "/etc/passwd", "../../../etc/localtime",
                           "Europe", ":Europe/Berlin", "Europe/Berlin\n"}) {
    EXPECT_THROW(SetZone(name), std::invalid_argument) << name;
  }
  EXPECT_NO_THROW(SetZone("America/Argentina/Buenos_Aires"));
  EXPECT_NO_THROW(SetZone("Etc/GMT+5"));
}

TEST(NamedZones, ReadAmbiguousTimesInTheOrderOfTheRows) {
  SetZone("Europe/Berlin");
  const std::filesystem::path path = std::filesystem::temp_directory_path() /
                                     ("named_zones_test_" + std::to_string(platform::ProcessId()) + ".csv");
  std::ofstream(path) << "time,a\n2016-10-30 02:00,1\n2016-10-30 02:00,2\n2016-10-30 03:00,3\n";
  const auto rows = PlantFile(path.string()).ReadRows(3);
  std::filesystem::remove(path);
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[1].time_ms - rows[0].time_ms, kHour);
  EXPECT_EQ(rows[2].time_ms - rows[1].time_ms, kHour);
}

}  // namespace
}  // namespace plant
