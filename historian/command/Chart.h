#pragma once

#include <string>
#include <vector>

#include "Axis.h"
#include "historian/Trend.h"

namespace historian::command {

// The size of a chart in cells of a terminal.
struct ChartSize {
  std::size_t width = 80, height = 8;
};
constexpr std::size_t kChartMargin = 11;  // part of the width, for the labels of the values
// The number of dots across a chart, two per cell.
std::size_t DotsAcross(const ChartSize& size);

// Lowest and highest value of a tag, widened when it has one value or none.
ValueRange RangeOf(const TagTrend& trend);

// Draws a tag in braille dots: each bucket from its minimum to its maximum, joined to its neighbours, with an
// axis of values at the left. Leaves a gap where there are no samples for long.
std::vector<std::string> DrawChart(const TagTrend& trend, Time from, Time to, const ChartSize& size);

// The time axis below charts of this size.
std::vector<std::string> DrawTimeAxis(Time from, Time to, const ChartSize& size, const Zone& zone);

// Whether to join two consecutive buckets: the distance between them is at most a few times the usual one.
class Joins {
 public:
  explicit Joins(const TagTrend& trend);
  bool operator()(const TrendBucket& a, const TrendBucket& b) const;

 private:
  std::chrono::milliseconds longest_{0};
};

}  // namespace historian::command
