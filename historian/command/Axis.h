#pragma once

#include <string>
#include <vector>

#include "Zone.h"

namespace historian::command {

// A mark on an axis and its label.
struct TimeTick {
  Time time;
  std::string label;
};

// Round local times in a range, at most `most`; a label is at most ten cells wide.
std::vector<TimeTick> TimeTicks(Time from, Time to, std::size_t most, const Zone& zone);

// `2026-03-01 00:00:00 to 2026-03-03 05:30:00, UTC`; with milliseconds where the range is shorter than a
// minute.
std::string RangeText(Time from, Time to, const Zone& zone);

// A range of values, widened when they are all the same.
struct ValueRange {
  double low = 0, high = 1;
  // 0 at the low end, 1 at the high end.
  double Share(double value) const { return (value - low) / (high - low); }
};

// Round values in the range, at most `most`.
std::vector<double> ValueTicks(const ValueRange& range, std::size_t most);

}  // namespace historian::command
