#include "historian/TrendPlan.h"

#include <gtest/gtest.h>

namespace historian {

static void PrintTo(const Segment& segment, std::ostream* out) {
  *out << "{store " << static_cast<int>(segment.store) << ", " << segment.range.begin << ".."
       << segment.range.end << (segment.samplesStored ? "" : ", no samples") << '}';
}

namespace {

constexpr std::int64_t kMinute = 60'000, kHour = 60 * kMinute, kDay = 24 * kHour;
constexpr std::int64_t kEver = 1'000'000 * kDay;

using Segments = std::vector<Segment>;

// Samples of the days 10 to 20; minutes of the days 5 to 20, hours of all. Both are up to date until noon of
// day 19.
Coverage Plant() {
  Coverage plant;
  plant.samples = Ranges({{10 * kDay, 20 * kDay}});
  plant.minutes.stored = Ranges({{5 * kDay, 20 * kDay}});
  plant.minutes.stale = Ranges({{19 * kDay + 12 * kHour, kEver}});
  plant.hours = plant.minutes;
  plant.hours.stored = Ranges({{0, 20 * kDay}});
  return plant;
}

TEST(TrendPlanTest, PlainPostgresqlReadsSamplesEverywhere) {
  const Range range = {-7, 400 * kDay};
  EXPECT_EQ(Split(Coverage(), range, {Store::Hours}), Segments({{Store::Samples, range, true}}));
  EXPECT_EQ(ChooseBuckets(Coverage(), range, 10).store, Store::Samples);
}

TEST(TrendPlanTest, TheNewestPartComesFromSamples) {
  EXPECT_EQ(Split(Plant(), {15 * kDay, 20 * kDay}, {Store::Hours}),
            Segments({{Store::Hours, {15 * kDay, 19 * kDay + 12 * kHour}, true},
                      {Store::Samples, {19 * kDay + 12 * kHour, 20 * kDay}, true}}));
}

TEST(TrendPlanTest, UnitsThatTheRangeCutsComeFromSamples) {
  EXPECT_EQ(Split(Plant(), {15 * kDay + 1, 16 * kDay - 1}, {Store::Hours}),
            Segments({{Store::Samples, {15 * kDay + 1, 15 * kDay + kHour}, true},
                      {Store::Hours, {15 * kDay + kHour, 16 * kDay - kHour}, true},
                      {Store::Samples, {16 * kDay - kHour, 16 * kDay - 1}, true}}));
}

TEST(TrendPlanTest, UnitsWithLateSamplesComeFromSamples) {
  Coverage plant = Plant();
  plant.minutes.stale = Ranges({{15 * kDay + 90'000, 15 * kDay + 90'001}, {19 * kDay, kEver}});
  EXPECT_EQ(Split(plant, {15 * kDay, 16 * kDay}, {Store::Minutes}),
            Segments({{Store::Minutes, {15 * kDay, 15 * kDay + kMinute}, true},
                      {Store::Samples, {15 * kDay + kMinute, 15 * kDay + 2 * kMinute}, true},
                      {Store::Minutes, {15 * kDay + 2 * kMinute, 16 * kDay}, true}}));
}

TEST(TrendPlanTest, AggregatesAreShownAsTheyAreWhereTheSamplesAreGone) {
  Coverage plant = Plant();
  plant.minutes.stale = plant.hours.stale = Ranges::All();
  EXPECT_EQ(Split(plant, {4 * kDay, 11 * kDay}, {Store::Hours}),
            Segments({{Store::Hours, {4 * kDay, 10 * kDay}, false},
                      {Store::Samples, {10 * kDay, 11 * kDay}, true}}));
  EXPECT_EQ(Split(plant, {4 * kDay, 11 * kDay}, {Store::Minutes}),
            Segments({{Store::Hours, {4 * kDay, 5 * kDay}, false},
                      {Store::Minutes, {5 * kDay, 10 * kDay}, false},
                      {Store::Samples, {10 * kDay, 11 * kDay}, true}}));
  EXPECT_EQ(Split(Plant(), {9 * kDay, 9 * kDay + 1}, {Store::Samples}), Segments());
}

TEST(TrendPlanTest, TheFirstStoreThatIsUpToDateIsTaken) {
  EXPECT_EQ(Split(Plant(), {0, 11 * kDay}, {Store::Minutes, Store::Hours}),
            Segments({{Store::Hours, {0, 5 * kDay}, false},
                      {Store::Minutes, {5 * kDay, 10 * kDay}, false},
                      {Store::Minutes, {10 * kDay, 11 * kDay}, true}}));
}

TEST(TrendPlanTest, SegmentsCoverEachInstantOnce) {
  Coverage plant = Plant();
  plant.hours.stale = Ranges({{12 * kDay + 5, 13 * kDay + 7}, {18 * kDay, kEver}});
  const Range range = {6 * kDay + 12345, 20 * kDay - 54321};
  std::int64_t end = 6 * kDay + kMinute;  // where the first whole unit begins: there are no samples yet
  for (const Segment& segment : Split(plant, range, {Store::Hours, Store::Minutes})) {
    EXPECT_EQ(segment.range.begin, end);
    end = segment.range.end;
  }
  EXPECT_EQ(end, range.end);
}

TEST(TrendPlanTest, ManyOutdatedUnitsAreReadTogether) {
  Coverage plant = Plant();
  std::vector<Range> late;
  for (std::int64_t hour = 0; hour < 200; hour += 2)
    late.push_back({11 * kDay + hour * kHour, 11 * kDay + hour * kHour + 1});
  plant.hours.stale = Ranges(late);
  EXPECT_LE(Split(plant, {10 * kDay, 20 * kDay}, {Store::Hours}).size(), 2 * 32u + 1);
}

TEST(TrendPlanTest, BucketsAreAsManyAsAskedForOrFewer) {
  for (const int most : {1, 2, 3, 7, 1000}) {
    for (const std::int64_t length :
         std::initializer_list<std::int64_t>{1, 2, 999, 60'001, 3'600'000, 86'400'001, 31'536'000'000}) {
      const Range range = {15 * kDay + 4711, 15 * kDay + 4711 + length};
      const Buckets buckets = ChooseBuckets(Plant(), range, most);
      EXPECT_LE(buckets.origin, range.begin);
      EXPECT_LT(range.begin - buckets.origin, Unit(buckets.store));
      EXPECT_EQ(buckets.width % Unit(buckets.store), 0);
      EXPECT_GE(buckets.origin + most * buckets.width, range.end);
      EXPECT_LE(Unit(buckets.store), std::max<std::int64_t>(1, (length + most - 1) / most));
    }
  }
}

TEST(TrendPlanTest, TheStoreIsTheCoarsestThatFitsABucket) {
  const auto store = [](std::int64_t length) {
    return ChooseBuckets(Plant(), {15 * kDay, 15 * kDay + length}, 1000).store;
  };
  EXPECT_EQ(store(999 * kMinute), Store::Samples);
  EXPECT_EQ(store(1000 * kMinute), Store::Minutes);
  EXPECT_EQ(store(999 * kHour), Store::Minutes);
  EXPECT_EQ(store(1000 * kHour), Store::Hours);
}

}  // namespace
}  // namespace historian
