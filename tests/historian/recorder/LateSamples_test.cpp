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

// Minutes for milliseconds, to be read more easily.
TimeRange Minutes(std::int64_t from, std::int64_t to) { return {from * kMinute, to * kMinute}; }

std::optional<TimeRange> Window(TimeRange late, std::int64_t oldest, std::int64_t intact) {
  RefreshBounds bounds;
  bounds.bucketMs = 60 * kMinute;
  bounds.oldestRawMs = oldest * kMinute;
  bounds.intactMs = intact * kMinute;
  bounds.nowMs = 1000 * kMinute;  // in the hour that begins at 960
  return RefreshWindow(late, bounds);
}

TEST(RefreshWindow, IsWholeBuckets) {
  EXPECT_EQ(Window(Minutes(130, 170), 0, 0), Minutes(120, 180));
  EXPECT_EQ(Window(Minutes(120, 180), 0, 0), Minutes(120, 240));
}

TEST(RefreshWindow, DoesNotBeginBeforeTheOldestSample) {
  EXPECT_EQ(Window(Minutes(10, 300), 130, 0), Minutes(120, 360));
  EXPECT_FALSE(Window(Minutes(10, 100), 130, 0));
}

TEST(RefreshWindow, LeavesOutWhatRetentionMayHaveDropped) {
  EXPECT_EQ(Window(Minutes(10, 300), 0, 130), Minutes(180, 360));
  EXPECT_FALSE(Window(Minutes(10, 170), 0, 130));
}

TEST(RefreshWindow, LeavesOutTheBucketThatIsBeingFilled) {
  EXPECT_EQ(Window(Minutes(900, 990), 0, 0), Minutes(900, 960));
  EXPECT_FALSE(Window(Minutes(970, 990), 0, 0));
}

}  // namespace
}  // namespace historian::recorder
