#include "AlarmWatch.h"

#include <gtest/gtest.h>

#include <cfloat>

#include "Time.h"

namespace plant {
namespace {

bool Same(const AlarmRecord& a, const AlarmRecord& b) {
  return a.timeMs == b.timeMs && a.tagName == b.tagName && a.status == b.status && DifferenceOf(a, b).empty();
}

constexpr std::int64_t kStart = 1'700'000'000'123;

TEST(AlarmWatch, OccursAboveTheLimitAndClearsAtIt) {
  AlarmWatch watch(L"PUMP", 31.7159);
  EXPECT_FALSE(watch.Add(kStart, 31.7159));
  const auto occurred = watch.Add(kStart + 1000, 31.716);
  ASSERT_TRUE(occurred);
  EXPECT_TRUE(Same(*occurred, {kStart + 1000, L"PUMP", 31.716, L"above its limit of 31.72", 0, 1, 1, 0,
                               kStart + 1000, 0}));
  EXPECT_FALSE(watch.Add(kStart + 2000, 99));
  EXPECT_EQ(watch.standing_ms(), kStart + 1000);
  const auto cleared = watch.Add(kStart + 3000, 31.7159);
  ASSERT_TRUE(cleared);
  EXPECT_TRUE(Same(*cleared, {kStart + 3000, L"PUMP", 31.7159, L"above its limit of 31.72", 1, 1, 1, 0,
                              kStart + 1000, kStart + 3000}));
  EXPECT_FALSE(watch.Add(kStart + 4000, 0));
  EXPECT_EQ(watch.standing_ms(), std::nullopt);
}

TEST(AlarmWatch, OccursWithTheFirstSample) {
  AlarmWatch watch(L"PUMP", -1);
  const auto occurred = watch.Add(1, 0);
  ASSERT_TRUE(occurred);
  EXPECT_EQ(occurred->occTimeMs, 1);
  EXPECT_EQ(watch.occurred(), 1u);
  EXPECT_EQ(watch.cleared(), 0u);
}

TEST(AlarmWatch, LeavesItsStateWhereValuesAreMissing) {
  AlarmWatch watch(L"PUMP", 5);
  EXPECT_FALSE(watch.Add(1000, DBL_MAX));
  EXPECT_TRUE(watch.Add(2000, 6));
  EXPECT_FALSE(watch.Add(3000, DBL_MAX));
  EXPECT_EQ(watch.standing_ms(), 2000);
  EXPECT_TRUE(watch.Add(4000, 5));
  EXPECT_FALSE(watch.Add(5000, DBL_MAX));
  EXPECT_EQ(watch.longest_ms(), 2000);
}

TEST(AlarmWatch, HasNoAlarmWithoutALimit) {
  AlarmWatch watch(L"PUMP", {});
  EXPECT_FALSE(watch.Add(1000, 1e308));
  EXPECT_EQ(watch.limit(), std::nullopt);
  EXPECT_EQ(watch.occurred(), 0u);
}

TEST(AlarmWatch, RemembersTheFirstOfTheLongestAlarms) {
  AlarmWatch watch(L"PUMP", 0);
  for (const auto& [time, value] :
       {std::pair{1000, 1}, {2000, 0}, {3000, 1}, {6000, 0}, {7000, 1}, {10000, 0}, {11000, 1}, {20000, 1}}) {
    watch.Add(time, value);
  }
  EXPECT_EQ(watch.occurred(), 4u);
  EXPECT_EQ(watch.cleared(), 3u);
  EXPECT_EQ(watch.longest_ms(), 3000);
  EXPECT_EQ(watch.longest_from_ms(), 3000);
  EXPECT_EQ(watch.standing_ms(), 11000);
}

// A thousand times 1,076,500,000.001, a double, is a little less than the milliseconds they were.
TEST(Alarms, AreReadWithInstantsCutToMilliseconds) {
  AlarmRecord alarm;
  alarm.timeMs = kStart;
  alarm.occTimeMs = 1'076'500'000'001;
  alarm.freeTimeMs = 0;
  const AlarmRecord read = AsRead(alarm);
  EXPECT_EQ(read.timeMs, kStart);
  EXPECT_EQ(read.occTimeMs, 1'076'500'000'000);
  EXPECT_EQ(read.freeTimeMs, 0);
}

TEST(Alarms, TellWhereTheyDiffer) {
  const AlarmRecord alarm = {1, L"PUMP", 2, L"high", 0, 1, 1, 0, 1'000, 3'000};
  EXPECT_EQ(DifferenceOf(alarm, alarm), "");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2.5, L"high", 0, 1, 1, 0, 1'000, 3'000}),
            "value was 2, the database has 2.5");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"low", 0, 1, 1, 0, 1'000, 3'000}),
            "label was high, the database has low");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"high", 0, 9, 1, 0, 1'000, 3'000}),
            "type was 1, the database has 9");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"high", 0, 1, 9, 0, 1'000, 3'000}),
            "level was 1, the database has 9");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"high", 0, 1, 1, 9, 1'000, 3'000}),
            "zone was 0, the database has 9");
  SetZone("UTC");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"high", 0, 1, 1, 0, 1'001, 3'000}),
            "occurrence was 1970-01-01 00:00:01, the database has 1970-01-01 00:00:01.001");
  EXPECT_EQ(DifferenceOf(alarm, {1, L"PUMP", 2, L"high", 0, 1, 1, 0, 1'000, 0}),
            "clearing was 1970-01-01 00:00:03, the database has none");
}

}  // namespace
}  // namespace plant
