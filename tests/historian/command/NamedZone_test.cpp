#include <gtest/gtest.h>

#include "historian/command/Zone.h"
#include "historian/command/csv/Times.h"

using namespace historian::command;
using historian::Time;

namespace {

std::string Read(const std::string& text) {
  const auto zone = FindZone("Europe/Berlin");
  Time time;
  std::string problem;
  return TimeReader({}, *zone, false).Read(text, time, problem) ? FormatUtc(time) : problem;
}

TEST(NamedZones, FollowTheirClocks) {
  EXPECT_EQ(Read("2026-01-15 12:00"), "2026-01-15T11:00:00Z");
  EXPECT_EQ(Read("2026-07-15 12:00"), "2026-07-15T10:00:00Z");
  EXPECT_EQ(Read("2026-03-29 01:59:59.999"), "2026-03-29T00:59:59.999Z");
  EXPECT_EQ(Read("2026-03-29 03:00"), "2026-03-29T01:00:00Z");
}

TEST(NamedZones, RefuseWhatAChangeOfTheClocksLeavesOutOrRepeats) {
  EXPECT_EQ(
      Read("2026-03-29 02:30"),
      "does not exist in Europe/Berlin, whose clocks are set forward there; if the file keeps one time all year, "
      "name it by its offset (--zone +01:00)");
  EXPECT_EQ(
      Read("2026-10-25 02:30"),
      "exists twice in Europe/Berlin, whose clocks are set back there; if the file keeps one time all year, name "
      "it by its offset (--zone +01:00)");
}

// The offset of the hour before is remembered; it must not outlive a change of the clocks.
TEST(NamedZones, ReadEveryHourOfAYear) {
  const auto zone = FindZone("Europe/Berlin");
  const Time start = ReadTimeArgument("--from", "2026-01-01T00:00Z", *zone);
  int unique = 0, skipped_or_repeated = 0;
  for (int hour = 0; hour < 365 * 24; ++hour) {
    const Time time = start + std::chrono::hours(hour);
    const auto instant = zone->ToInstant(zone->ToLocal(time));
    if (instant.kind != Zone::Kind::Unique) {
      ++skipped_or_repeated;
      continue;
    }
    ASSERT_EQ(instant.time, time) << FormatUtc(time);
    ++unique;
  }
  EXPECT_EQ(unique, 365 * 24 - 2);
  EXPECT_EQ(skipped_or_repeated, 2);
}

}  // namespace
