#include "Statistics.h"

#include <gtest/gtest.h>

#include <cfloat>

namespace plant {
namespace {

using Values = std::vector<std::optional<double>>;

TEST(Statistics, TellsSamplesAndGapsApart) {
  TagCourse course(1000, 5000);
  course.Add(1000, {});
  course.Add(2000, 4.0);
  course.Add(3000, -2.0);
  course.Add(4000, 7.0);
  course.Add(5000, {});
  EXPECT_EQ(course.samples(), 5u);
  EXPECT_EQ(course.values(), 3u);
  EXPECT_EQ(course.gaps(), 2u);
  EXPECT_EQ(course.first_ms(), 2000);
  EXPECT_EQ(course.last_ms(), 4000);
  EXPECT_EQ(course.smallest(), -2);
  EXPECT_EQ(course.Mean(), 3);
  EXPECT_EQ(course.largest(), 7);
  EXPECT_EQ(course.last(), 7);
}

TEST(Statistics, TakesTheLatestForTheLastInAnyOrder) {
  TagCourse course(0, 9000);
  course.Add(9000, 1.0);
  course.Add(3000, 2.0);
  EXPECT_EQ(course.last(), 1);
  EXPECT_EQ(course.first_ms(), 3000);
  EXPECT_EQ(course.last_ms(), 9000);
}

TEST(Statistics, AddsWithoutLosingSmallValues) {
  TagCourse course(0, 3);
  course.Add(0, 1e16);
  course.Add(1, 1.0);
  course.Add(2, 1.0);
  course.Add(3, -1e16);
  EXPECT_EQ(course.Mean(), 0.5);
}

TEST(Statistics, DividesACourseIntoParts) {
  TagCourse course(0, 399);
  for (int i = 0; i < 400; ++i) course.Add(i, i / 100);
  EXPECT_EQ(course.Means(4), (Values{0, 1, 2, 3}));
  EXPECT_EQ(course.Means(2), (Values{0.5, 2.5}));
  EXPECT_EQ(course.Means(1), Values{1.5});
  EXPECT_EQ(course.Means(0), Values{});
}

TEST(Statistics, LeavesEmptyPartsEmpty) {
  TagCourse course(0, 99);
  course.Add(0, 1.0);
  course.Add(99, 3.0);
  EXPECT_EQ(course.Means(4), (Values{1, {}, {}, 3}));
}

TEST(Statistics, PutsOneInstantIntoTheFirstPart) {
  TagCourse course(5000, 5000);
  course.Add(5000, 2.0);
  EXPECT_EQ(course.Means(2), (Values{2, {}}));
}

TEST(Sparkline, DrawsEighths) {
  EXPECT_EQ(Sparkline({0, 1, 2, 3, 4, 5, 6, 7}), "▁▂▃▄▅▆▇█");
  EXPECT_EQ(Sparkline({7, 0}), "█▁");
  EXPECT_EQ(Sparkline({-1, 0, 1}), "▁▅█");
  EXPECT_EQ(Sparkline({0, {}, 1}), "▁ █");
  EXPECT_EQ(Sparkline({3, 3, {}, 3}), "▄▄ ▄");
  EXPECT_EQ(Sparkline({{}, {}}), "  ");
  EXPECT_EQ(Sparkline({}), "");
}

TEST(Sparkline, SpansTheLargestDoubles) { EXPECT_EQ(Sparkline({-DBL_MAX / 2, DBL_MAX, -DBL_MAX}), "▃█▁"); }

}  // namespace
}  // namespace plant
