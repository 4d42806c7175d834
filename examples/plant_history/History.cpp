#include "History.h"

#include <cmath>

namespace plant {

std::int64_t Milliseconds(const LogPoint& point) { return std::llround(point.time * 1000); }

History ReadHistory(Stage& stage, std::int64_t from, std::int64_t to) {
  History history;
  for (const std::wstring& tag : stage.tag_names) history[tag];
  Require(stage, stage.dbms->GetLogData(from, to, history), "read samples back");
  return history;
}

// The query includes its end.
History ReadStretch(Stage& stage, const Stretch& stretch) {
  History history = ReadHistory(stage, stretch.from, stretch.to);
  for (auto& [tag, points] : history) {
    while (!points.empty() && Milliseconds(points.back()) >= stretch.to * 1000) points.pop_back();
  }
  return history;
}

}  // namespace plant
