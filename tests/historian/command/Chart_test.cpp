#include "historian/command/Chart.h"

#include <gtest/gtest.h>

#include <cmath>

#include "historian/command/Text.h"
#include "historian/command/csv/Times.h"

using namespace historian;
using namespace historian::command;

namespace {

const std::unique_ptr<Zone> kUtc = FindZone("UTC");

Time At(const std::string& text, const Zone& zone = *kUtc) { return ReadTimeArgument("", text, zone); }

std::vector<std::string> Labels(const std::string& from, const std::string& to, std::size_t most,
                                const std::string& zone = "UTC") {
  std::vector<std::string> labels;
  const auto in = FindZone(zone);
  for (const TimeTick& tick : TimeTicks(At(from, *in), At(to, *in), most, *in)) labels.push_back(tick.label);
  return labels;
}

using Strings = std::vector<std::string>;

TEST(TimeTicks, AreRoundLocalTimes) {
  EXPECT_EQ(Labels("2026-11-21 20:40:07", "2026-11-21 20:41:07", 7),
            (Strings{"20:40:10", "20:40:20", "20:40:30", "20:40:40", "20:40:50", "20:41:00"}));
  EXPECT_EQ(Labels("2026-11-21 20:40", "2026-11-22 03:00", 5), (Strings{"22:00", "2026-11-22", "02:00"}));
  EXPECT_EQ(Labels("2026-11-20", "2026-11-23", 4),
            (Strings{"2026-11-20", "2026-11-21", "2026-11-22", "2026-11-23"}));
  EXPECT_EQ(Labels("2026-01-15", "2026-06-15", 6),
            (Strings{"2026-02", "2026-03", "2026-04", "2026-05", "2026-06"}));
  EXPECT_EQ(Labels("2016-01-15", "2026-06-15", 6), (Strings{"2018", "2020", "2022", "2024", "2026"}));
}

TEST(TimeTicks, FollowTheZone) {
  EXPECT_EQ(Labels("2026-11-21 22:30", "2026-11-22 01:30", 4, "+05:30"),
            (Strings{"23:00", "2026-11-22", "01:00"}));
  EXPECT_EQ(TimeTicks(At("2026-11-21 18:00"), At("2026-11-21 19:00"), 2, *FindZone("+05:30"))[0].time,
            At("2026-11-21 18:30"));
}

TEST(TimeTicks, AreNoneInARangeWithoutARoundTime) {
  EXPECT_EQ(Labels("2026-11-21 20:40:01.2", "2026-11-21 20:40:01.5", 1), Strings{});
}

TEST(ValueTicks, AreRound) {
  EXPECT_EQ(ValueTicks({0, 10}, 6), (std::vector<double>{0, 2, 4, 6, 8, 10}));
  EXPECT_EQ(ValueTicks({-0.3, 0.3}, 4), (std::vector<double>{-0.2, 0, 0.2}));
  EXPECT_EQ(ValueTicks({17, 23}, 3), (std::vector<double>{20}));
}

TagTrend Steps(std::vector<double> values) {
  TagTrend trend;
  trend.tag = "A";
  for (std::size_t i = 0; i < values.size(); ++i) {
    trend.buckets.push_back({At("2026-11-21") + std::chrono::minutes(i), values[i], values[i], values[i]});
  }
  return trend;
}

TEST(RangeOf, LeavesRoomForOneValue) {
  EXPECT_EQ(RangeOf(Steps({3, 7, NAN, 5})).low, 3);
  EXPECT_EQ(RangeOf(Steps({3, 7, NAN, 5})).high, 7);
  EXPECT_EQ(RangeOf(Steps({100, 100})).low, 90);
  EXPECT_EQ(RangeOf(Steps({0})).high, 0.5);
  EXPECT_LT(RangeOf(Steps({NAN})).low, RangeOf(Steps({NAN})).high);
}

Strings Draw(const TagTrend& trend, int minutes, ChartSize size) {
  return DrawChart(trend, At("2026-11-21"), At("2026-11-21") + std::chrono::minutes(minutes), size);
}

TEST(DrawChart, DrawsARisingLine) {
  EXPECT_EQ(Draw(Steps({0, 1, 2, 3, 4, 5, 6, 7}), 8, {kChartMargin + 8, 2}),
            (Strings{"          │    ⣀⠤⠒⠁", "        0 ┤⣀⠤⠒⠉    "}));
}

TEST(DrawChart, DrawsBandsFromMinimumToMaximum) {
  TagTrend trend;
  trend.buckets = {{At("2026-11-21"), 0, 4, 8}, {At("2026-11-21") + std::chrono::minutes(1), 4, 4, 4}};
  const Strings lines = Draw(trend, 2, {kChartMargin + 8, 2});
  EXPECT_EQ(lines.size(), 2u);
  EXPECT_NE(lines[0].find("⡇"), std::string::npos)
      << lines[0];  // the left dots of the first cell, all of them
  EXPECT_NE(lines[1].find("⡏"), std::string::npos) << lines[1];
}

TEST(DrawChart, LeavesAGapWhereSamplesAreMissing) {
  TagTrend trend = Steps({1, 1, 1, 1});
  for (const int minute : {56, 57, 58, 59}) {
    trend.buckets.push_back({At("2026-11-21") + std::chrono::minutes(minute), 1, 1, 1});
  }
  const Strings lines = Draw(trend, 60, {kChartMargin + 30, 1});
  EXPECT_NE(lines[0].find("                    "), std::string::npos) << lines[0];
  // Without values the chart is empty.
  EXPECT_EQ(Draw(Steps({NAN, NAN}), 2, {kChartMargin + 8, 1})[0].find("⠉"), std::string::npos);
}

TEST(RangeText, HasMillisecondsWhereTheRangeIsShort) {
  const Time begin = At("2026-11-21");
  const auto ms = [](int count) { return std::chrono::milliseconds(count); };
  EXPECT_EQ(RangeText(begin + ms(1), begin + ms(3'600'001), *kUtc),
            "2026-11-21 00:00:00 to 2026-11-21 01:00:00, UTC");
  EXPECT_EQ(RangeText(begin, begin + ms(20'001), *kUtc),
            "2026-11-21 00:00:00 to 2026-11-21 00:00:20.001, UTC");
}

TEST(DrawTimeAxis, SetsLabelsBelowTheirMarks) {
  const Strings lines = DrawTimeAxis(At("2026-11-21"), At("2026-11-22"), {kChartMargin + 60, 1}, *kUtc);
  ASSERT_EQ(lines.size(), 2u);
  EXPECT_EQ(DisplayWidth(lines[0]), kChartMargin + 60);
  EXPECT_EQ(lines[1].find("12:00"), kChartMargin + 30) << lines[1];
}

TEST(Text, FitsCells) {
  EXPECT_EQ(AlignLeft("Kühler", 8), "Kühler  ");
  EXPECT_EQ(AlignRight("温度", 5), " 温度");
  EXPECT_EQ(AlignLeft("BOILER.TEMP", 6), "BOILE…");
  EXPECT_EQ(OneLine("a\r\n\tb\x1b[31m"), "a b [31m");
}

TEST(Text, WritesFiguresForPeople) {
  EXPECT_EQ(FormatValue(0.46212), "0.4621");
  EXPECT_EQ(FormatValue(-24318.4), "-24,318");
  EXPECT_EQ(FormatValue(1.234e7), "1.23e+07");
  EXPECT_EQ(Count(1, "row"), "1 row");
  EXPECT_EQ(Count(2100, "row"), "2,100 rows");
  EXPECT_EQ(FormatDuration(0.0042), "4 ms");
  EXPECT_EQ(FormatDuration(125), "2 min 05 s");
  EXPECT_EQ(FormatDuration(11040), "3 h 04 min");
  EXPECT_EQ(FormatBytes(512), "512 B");
  EXPECT_EQ(FormatBytes(4404020), "4.2 MiB");
}

}  // namespace
