#include "historian/recorder/LateSamples.h"

#include <gtest/gtest.h>

#include <chrono>

namespace historian::recorder {
namespace {

constexpr std::int64_t kMinute = 60000;

std::string Sample(std::int64_t timeMs) {
  std::string bytes;
  AppendRecord(bytes, LogSample{timeMs, L"PUMP", 1});
  return bytes;
}

TEST(LateSamples, AreThoseThatThePoliciesMayPassOver) {
  using namespace std::chrono;
  const std::int64_t now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
  const std::string fresh = Sample(now), hour = Sample(now - 60 * kMinute),
                    day = Sample(now - 1440 * kMinute);
  const std::string timeless = Sample(0), ahead = Sample(now + 60 * kMinute);
  EXPECT_FALSE(LateRange({fresh, timeless, ahead}));
  EXPECT_EQ(LateRange({fresh, day, hour, timeless}), (TimeRange{now - 1440 * kMinute, now - 60 * kMinute}));
}

// Converts minutes to milliseconds.
TimeRange Minutes(std::int64_t from, std::int64_t to) { return {from * kMinute, to * kMinute}; }

std::optional<TimeRange> Window(TimeRange late, std::int64_t safeStart, std::int64_t intact) {
  return RefreshWindow(late, {safeStart * kMinute, intact * kMinute});
}

TEST(RefreshWindow, IsWholeHours) {
  EXPECT_EQ(Window(Minutes(130, 170), 0, 0), Minutes(120, 180));
  EXPECT_EQ(Window(Minutes(120, 180), 0, 0), Minutes(120, 240));
}

TEST(RefreshWindow, BeginsWhereTheSamplesAreWhole) {
  EXPECT_EQ(Window(Minutes(10, 300), 120, 0), Minutes(120, 360));
  EXPECT_EQ(Window(Minutes(10, 300), 130, 0), Minutes(180, 360));
  EXPECT_FALSE(Window(Minutes(10, 100), 120, 0));
}

TEST(RefreshWindow, LeavesOutWhatRetentionMayHaveDroppedSince) {
  EXPECT_EQ(Window(Minutes(10, 300), 120, 190), Minutes(240, 360));
  EXPECT_FALSE(Window(Minutes(10, 170), 0, 130));
}

}  // namespace
}  // namespace historian::recorder
