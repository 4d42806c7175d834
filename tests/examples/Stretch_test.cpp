#include "Stretch.h"

#include <gtest/gtest.h>

namespace plant {

void PrintTo(const Stretch& stretch, std::ostream* out) {
  *out << stretch.from << " to " << stretch.to << ", " << stretch.rows << " rows";
}

namespace {

constexpr std::int64_t kHour = 3600;

using Stretches = std::vector<Stretch>;

// Adds so many rows at the beginning of an hour.
void Add(OccupiedHours& hours, std::int64_t hour, int rows) {
  for (int i = 0; i < rows; ++i) hours.Add(hour * kHour * 1000);
}

TEST(Stretches, AreNoneWithoutRows) { EXPECT_EQ(OccupiedHours().Divide(10), Stretches{}); }

TEST(Stretches, BeginAndEndWithHours) {
  OccupiedHours hours;
  hours.Add(1 * kHour * 1000);
  hours.Add(2 * kHour * 1000 - 1);
  EXPECT_EQ(hours.Divide(10), (Stretches{{1 * kHour, 2 * kHour, 2}}));
  hours.Add(2 * kHour * 1000);
  EXPECT_EQ(hours.Divide(10), (Stretches{{1 * kHour, 3 * kHour, 3}}));
}

TEST(Stretches, TakeHoursTogetherUntilTheyAreFull) {
  OccupiedHours hours;
  for (const std::int64_t hour : {4, 2, 3, 1, 0}) Add(hours, hour, 4);
  EXPECT_EQ(hours.Divide(8),
            (Stretches{{0, 2 * kHour, 8}, {2 * kHour, 4 * kHour, 8}, {4 * kHour, 5 * kHour, 4}}));
  EXPECT_EQ(hours.Divide(7).size(), 5u);
}

TEST(Stretches, ReachOverADayButNotOverMore) {
  OccupiedHours hours;
  Add(hours, 0, 1);
  Add(hours, 25, 1);
  Add(hours, 51, 1);
  EXPECT_EQ(hours.Divide(8), (Stretches{{0, 26 * kHour, 2}, {51 * kHour, 52 * kHour, 1}}));
}

TEST(Stretches, CutAnHourOfManyRows) {
  OccupiedHours hours;
  Add(hours, 5, 30);
  Add(hours, 6, 1);
  EXPECT_EQ(hours.Divide(10), (Stretches{{5 * kHour, 5 * kHour + 1200, 10},
                                         {5 * kHour + 1200, 5 * kHour + 2400, 10},
                                         {5 * kHour + 2400, 6 * kHour, 10},
                                         {6 * kHour, 7 * kHour, 1}}));
}

TEST(Stretches, LeaveNothingOutWhereSecondsDoNotDivideEvenly) {
  OccupiedHours hours;
  Add(hours, 0, 7);
  const Stretches stretches = hours.Divide(1);
  ASSERT_EQ(stretches.size(), 7u);
  EXPECT_EQ(stretches.front().from, 0);
  for (std::size_t i = 1; i < stretches.size(); ++i) EXPECT_EQ(stretches[i].from, stretches[i - 1].to);
  EXPECT_EQ(stretches.back().to, kHour);
}

TEST(Stretches, AreNeverShorterThanASecond) {
  OccupiedHours hours;
  Add(hours, 0, 8000);
  const Stretches stretches = hours.Divide(1);
  ASSERT_EQ(stretches.size(), 3600u);
  EXPECT_EQ(stretches[0], (Stretch{0, 1, 2}));
}

}  // namespace
}  // namespace plant
