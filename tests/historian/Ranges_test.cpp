#include "historian/Ranges.h"

#include <gtest/gtest.h>

#include <limits>

namespace historian {

namespace {

constexpr std::int64_t kFirst = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLast = std::numeric_limits<std::int64_t>::max();

TEST(RangesTest, FloorAndCeilingGoTowardsTheirSideBelowZeroToo) {
  EXPECT_EQ(Floor(119, 60), 60);
  EXPECT_EQ(Floor(120, 60), 120);
  EXPECT_EQ(Floor(-1, 60), -60);
  EXPECT_EQ(Floor(-60, 60), -60);
  EXPECT_EQ(Ceiling(61, 60), 120);
  EXPECT_EQ(Ceiling(60, 60), 60);
  EXPECT_EQ(Ceiling(-59, 60), 0);
}

TEST(RangesTest, JoinsWhatOverlapsOrTouchesAndDropsWhatIsEmpty) {
  EXPECT_EQ(Ranges({{30, 40}, {0, 10}, {10, 20}, {35, 50}, {60, 60}, {90, 80}}), Ranges({{0, 20}, {30, 50}}));
  EXPECT_EQ(Ranges({{0, 100}, {10, 20}}), Ranges({{0, 100}}));
  EXPECT_TRUE(Ranges({{5, 5}}).Empty());
}

TEST(RangesTest, IntersectsAndSubtracts) {
  const Ranges a({{0, 10}, {20, 30}, {40, 50}}), b({{5, 25}, {45, 60}});
  EXPECT_EQ(a.And(b), Ranges({{5, 10}, {20, 25}, {45, 50}}));
  EXPECT_EQ(a.Minus(b), Ranges({{0, 5}, {25, 30}, {40, 45}}));
  EXPECT_EQ(a.Minus(Ranges()), a);
  EXPECT_EQ(a.And(Ranges::All()), a);
  EXPECT_TRUE(a.Minus(Ranges::All()).Empty());
  EXPECT_EQ(Ranges::All().Minus(Ranges({{0, 10}})), Ranges({{kFirst, 0}, {10, kLast}}));
}

TEST(RangesTest, GrowsAndShrinksToWholeUnits) {
  const Ranges some({{-5, 61}, {120, 240}, {301, 359}});
  EXPECT_EQ(some.Outward(60), Ranges({{-60, 240}, {300, 360}}));
  EXPECT_EQ(some.Inward(60), Ranges({{0, 60}, {120, 240}}));
  EXPECT_EQ(Ranges::All().Outward(60), Ranges::All());
  EXPECT_EQ(Ranges::All().Inward(60), Ranges::All());
}

TEST(RangesTest, ClosesTheShortestGapsFirst) {
  const Ranges some({{0, 10}, {12, 20}, {50, 60}, {61, 70}, {200, 210}});
  EXPECT_EQ(some.Merged(5), some);
  EXPECT_EQ(some.Merged(4), Ranges({{0, 10}, {12, 20}, {50, 70}, {200, 210}}));
  EXPECT_EQ(some.Merged(3), Ranges({{0, 20}, {50, 70}, {200, 210}}));
  EXPECT_EQ(some.Merged(1), Ranges({{0, 210}}));
}

}  // namespace
}  // namespace historian
