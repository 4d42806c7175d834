#pragma once

#include <string>
#include <vector>

#include "Axis.h"
#include "historian/Trend.h"

namespace historian::command {

// Room for values and axis in cells of a terminal.
struct ChartSize {
  std::size_t width = 80, height = 8;
};
constexpr std::size_t kChartMargin = 11;  // of the width, for the labels of the values
// Dots that the width of a chart has, two a cell.
std::size_t DotsAcross(const ChartSize& size);

// Lowest and highest value of a tag; some room where it has one value or none.
ValueRange RangeOf(const TagTrend& trend);

// Draws a tag in braille dots: each bucket from its minimum to its maximum, joined to its neighbours, with an
// axis of values at the left. Where there are no samples for long, there is a gap.
std::vector<std::string> DrawChart(const TagTrend& trend, Time from, Time to, const ChartSize& size);

// The axis of times below charts of the same size.
std::vector<std::string> DrawTimeAxis(Time from, Time to, const ChartSize& size, const Zone& zone);

// Whether two buckets that follow each other are to be joined: no more than a few usual distances lie between
// them.
class Joins {
 public:
  explicit Joins(const TagTrend& trend);
  bool operator()(const TrendBucket& a, const TrendBucket& b) const;

 private:
  std::chrono::milliseconds longest_{0};
};

}  // namespace historian::command
