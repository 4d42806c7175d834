#include "Percentile.h"

#include <gtest/gtest.h>

namespace plant {
namespace {

// Of the numbers from 1 to `count` in an order that is neither up nor down.
std::optional<double> OfFirst(std::uint64_t count, std::uint64_t announced) {
  Percentile99 percentile(announced);
  for (std::uint64_t i = 0; i < count; ++i) percentile.Add(static_cast<double>(i * 7 % count + 1));
  return percentile.Value();
}

TEST(Percentile, IsTheNearestRank) {
  EXPECT_EQ(OfFirst(1, 1), 1);
  EXPECT_EQ(OfFirst(2, 2), 2);
  EXPECT_EQ(OfFirst(99, 99), 99);
  EXPECT_EQ(OfFirst(100, 100), 99);
  EXPECT_EQ(OfFirst(101, 101), 100);
  EXPECT_EQ(OfFirst(199, 199), 198);
  EXPECT_EQ(OfFirst(200, 200), 198);
  EXPECT_EQ(OfFirst(1000, 1000), 990);
  EXPECT_EQ(OfFirst(17420, 17420), 17246);
}

TEST(Percentile, TakesFewerValuesThanAnnounced) {
  EXPECT_EQ(OfFirst(100, 100000), 99);
  EXPECT_EQ(OfFirst(1, 100000), 1);
}

TEST(Percentile, IsNothingWithoutValues) { EXPECT_EQ(Percentile99(0).Value(), std::nullopt); }

TEST(Percentile, IsTheValueThatAllShare) {
  Percentile99 percentile(500);
  for (int i = 0; i < 500; ++i) percentile.Add(-2.5);
  EXPECT_EQ(percentile.Value(), -2.5);
}

TEST(Percentile, GrowsWithValuesThatComeInFallingOrder) {
  Percentile99 percentile(300);
  for (int i = 300; i >= 1; --i) percentile.Add(i);
  EXPECT_EQ(percentile.Value(), 297);
}

}  // namespace
}  // namespace plant
