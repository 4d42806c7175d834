#include "Hours.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <utility>
#include <vector>

#include "Time.h"

namespace plant {
namespace {

bool Same(const ReportAnalogData& a, const ReportAnalogData& b) {
  return a.time == b.time && a.tag_name == b.tag_name && DifferenceOf(a, b).empty();
}

constexpr std::int64_t kNoon = 1'714'564'800;  // 2024-05-01 12:00

using Rows = std::vector<ReportAnalogData>;
using Samples = std::vector<std::pair<double, double>>;  // seconds after noon, value

Rows HoursOf(const Samples& samples) {
  HourStatistics statistics(L"PUMP");
  Rows rows;
  for (const auto& [second, value] : samples) {
    const auto row = statistics.Add(kNoon * 1000 + std::llround(second * 1000), value);
    if (row) rows.push_back(*row);
  }
  if (const auto row = statistics.Finish()) rows.push_back(*row);
  return rows;
}

TEST(Hours, HoldWhatTheirSamplesComeTo) {
  const Rows rows = HoursOf({{0, 4}, {30, 1}, {61, 7}, {90.5, 10}, {600, 10}, {660, 2}});
  ASSERT_EQ(rows.size(), 1u);
  const ReportAnalogData& row = rows[0];
  EXPECT_EQ(row.time, kNoon);
  EXPECT_EQ(row.tag_name, L"PUMP");
  EXPECT_EQ(row.count, 6);
  EXPECT_EQ(row.sum, 34);
  EXPECT_EQ(row.avg, 34.0 / 6);
  EXPECT_EQ(row.diff, -2);
  EXPECT_EQ(row.first, 4);
  EXPECT_EQ(row.last, 2);
  EXPECT_EQ(row.min, 1);
  EXPECT_EQ(row.min_time, kNoon + 30);
  EXPECT_EQ(row.max, 10);
  EXPECT_EQ(row.max_time, kNoon + 90);
  // Minutes 0, 1, 10 and 11 went by -3, 3, 0 and 0.
  EXPECT_EQ(row.diff_sum, 0);
  EXPECT_EQ(row.diff_avg, 0);
  EXPECT_EQ(row.diff_min, -3);
  EXPECT_EQ(row.diff_min_time, kNoon);
  EXPECT_EQ(row.diff_max, 3);
  EXPECT_EQ(row.diff_max_time, kNoon + 60);
}

TEST(Hours, OfOneSampleHaveNoDifference) {
  const Rows rows = HoursOf({{1800.999, -2.5}});
  ASSERT_EQ(rows.size(), 1u);
  const std::int64_t second = kNoon + 1800;
  EXPECT_TRUE(Same(rows[0], {kNoon, L"PUMP", 1, -2.5, -2.5, 0, -2.5, -2.5, -2.5, second, -2.5, second, 0, 0,
                             0, second, 0, second}));
}

TEST(Hours, EndWhereTheNextBegins) {
  const Rows rows = HoursOf({{-0.001, 1}, {0, 2}, {3599.999, 3}, {3600, 4}});
  ASSERT_EQ(rows.size(), 3u);
  EXPECT_EQ(rows[0].time, kNoon - 3600);
  EXPECT_EQ(rows[0].min_time, kNoon - 1);
  EXPECT_EQ(rows[1].time, kNoon);
  EXPECT_EQ(rows[1].count, 2);
  EXPECT_EQ(rows[1].max_time, kNoon + 3599);
  EXPECT_EQ(rows[2].time, kNoon + 3600);
  EXPECT_EQ(rows[2].first, 4);
}

TEST(Hours, BeginAgainWithNothingOfTheOneBefore) {
  const Rows rows = HoursOf({{0, 100}, {10, -100}, {70, 5}, {3600, 1}, {3610, 3}});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_TRUE(Same(rows[1], {kNoon + 3600, L"PUMP", 2, 4, 2, 2, 1, 3, 1, kNoon + 3600, 3, kNoon + 3610, 2, 2,
                             2, kNoon + 3600, 2, kNoon + 3600}));
}

TEST(Hours, WithoutSamplesHaveNoRow) {
  const Rows rows = HoursOf({{0, 1}, {10 * 3600, 2}});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[1].time, kNoon + 10 * 3600);
  EXPECT_TRUE(HoursOf({}).empty());
}

TEST(Hours, PassOverMissingValues) {
  const Rows rows = HoursOf({{0, DBL_MAX}, {60, 3}, {120, DBL_MAX}, {180, 5}, {3600, DBL_MAX}, {7200, 7}});
  ASSERT_EQ(rows.size(), 2u);
  EXPECT_EQ(rows[0].count, 2);
  EXPECT_EQ(rows[0].avg, 4);
  EXPECT_EQ(rows[0].first, 3);
  EXPECT_EQ(rows[0].diff_avg, 0);
  EXPECT_EQ(rows[1].time, kNoon + 7200);
  EXPECT_TRUE(HoursOf({{0, DBL_MAX}, {3600, DBL_MAX}}).empty());
}

TEST(Hours, NameTheFirstOfSeveralLowestAndHighest) {
  const Rows rows = HoursOf({{1, 2}, {2, 1}, {3, 1}, {4, 2}});
  EXPECT_EQ(rows.at(0).max_time, kNoon + 1);
  EXPECT_EQ(rows.at(0).min_time, kNoon + 2);
}

TEST(Hours, AddWithoutLosingSmallValues) {
  const Rows rows = HoursOf({{0, 1e16}, {1, 1}, {2, 1}, {3, -1e16}});
  EXPECT_EQ(rows.at(0).sum, 2);
  EXPECT_EQ(rows.at(0).avg, 0.5);
}

TEST(Hours, HoldNumbersOnly) {
  const double most = 1.7e308;
  for (const ReportAnalogData& row : {HoursOf({{0, most}, {1, most}, {2, most}}).at(0),
                                      HoursOf({{0, -most}, {1, most}, {60, most}, {61, -most}}).at(0)}) {
    for (const double figure :
         {row.sum, row.avg, row.diff, row.diff_sum, row.diff_avg, row.diff_min, row.diff_max}) {
      EXPECT_TRUE(std::isfinite(figure));
    }
  }
  EXPECT_EQ(HoursOf({{0, most}, {1, most}}).at(0).sum, DBL_MAX);
  EXPECT_EQ(HoursOf({{0, most}, {1, -most}}).at(0).diff, -DBL_MAX);
}

TEST(HourRows, TellWhereTheyDiffer) {
  SetZone("UTC");
  const ReportAnalogData row = {0, L"PUMP", 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17};
  EXPECT_EQ(DifferenceOf(row, row), "");
  ReportAnalogData other = row;
  other.count = 9;
  EXPECT_EQ(DifferenceOf(row, other), "count was 2, the database has 9");
  for (const auto& [field, expected] :
       {std::pair{&ReportAnalogData::sum, "sum was 3, the database has 3.5"},
        {&ReportAnalogData::avg, "avg was 4, the database has 4.5"},
        {&ReportAnalogData::diff, "diff was 5, the database has 5.5"},
        {&ReportAnalogData::first, "first was 6, the database has 6.5"},
        {&ReportAnalogData::last, "last was 7, the database has 7.5"},
        {&ReportAnalogData::min, "min was 8, the database has 8.5"},
        {&ReportAnalogData::max, "max was 10, the database has 10.5"},
        {&ReportAnalogData::diff_sum, "diff_sum was 12, the database has 12.5"},
        {&ReportAnalogData::diff_avg, "diff_avg was 13, the database has 13.5"},
        {&ReportAnalogData::diff_min, "diff_min was 14, the database has 14.5"},
        {&ReportAnalogData::diff_max, "diff_max was 16, the database has 16.5"}}) {
    other = row;
    other.*field += 0.5;
    EXPECT_EQ(DifferenceOf(row, other), expected);
  }
  for (const auto& [field, name] :
       {std::pair{&ReportAnalogData::min_time, "min_time was 1970-01-01 00:00:09"},
        {&ReportAnalogData::max_time, "max_time was 1970-01-01 00:00:11"},
        {&ReportAnalogData::diff_min_time, "diff_min_time was 1970-01-01 00:00:15"},
        {&ReportAnalogData::diff_max_time, "diff_max_time was 1970-01-01 00:00:17"}}) {
    other = row;
    other.*field = 60;
    EXPECT_EQ(DifferenceOf(row, other), std::string(name) + ", the database has 1970-01-01 00:01:00");
  }
}

TEST(HourSummary, TellsTheLowestAndHighestHour) {
  HourSummary summary;
  for (const ReportAnalogData& row : HoursOf({{0, 2}, {3600, 5}, {7200, 1}, {7201, 3}, {10800, 5}}))
    summary.Add(row);
  EXPECT_EQ(summary.hours(), 4u);
  EXPECT_EQ(summary.Mean(), 3.2);
  EXPECT_EQ(summary.lowest().mean, 2);
  EXPECT_EQ(summary.lowest().time, kNoon);
  EXPECT_EQ(summary.highest().mean, 5);
  EXPECT_EQ(summary.highest().time, kNoon + 3600);
}

}  // namespace
}  // namespace plant
