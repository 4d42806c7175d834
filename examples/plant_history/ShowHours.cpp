#include "Stage.h"
#include "Table.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::size_t kNarrowestTag = 12;
constexpr std::size_t kWidestTag = 30;
constexpr const char* kNothing = "–";
constexpr std::int64_t kHourMs = 3'600'000;

// Tells hours by when they begin, without what all of them share: the year, or the whole date.
class HourNames {
 public:
  HourNames(std::int64_t first_ms, std::int64_t last_ms) {
    const std::string first = FormatTime(first_ms / kHourMs * kHourMs);
    const std::string last = FormatTime(last_ms);
    for (const std::size_t length : {kYear, kDate}) {
      if (first.substr(0, length) == last.substr(0, length)) shared_ = length;
    }
  }

  std::string Of(std::int64_t time) const {
    return FormatTime(time * 1000).substr(shared_, kDateAndClock - shared_);
  }

 private:
  static constexpr std::size_t kYear = 5;           // 2024-
  static constexpr std::size_t kDate = 11;          // 2024-05-01 and a blank
  static constexpr std::size_t kDateAndClock = 16;  // 2024-05-01 12:00

  std::size_t shared_ = 0;
};

std::vector<std::string> Cells(const std::string& tag, const HourSummary& summary, const HourNames& names) {
  std::vector<std::string> cells = {tag, FormatCount(summary.hours())};
  if (summary.hours() == 0) {
    cells.insert(cells.end(), 5, kNothing);
    return cells;
  }
  cells.push_back(FormatValue(summary.Mean()));
  for (const HourSummary::Hour& hour : {summary.lowest(), summary.highest()}) {
    cells.push_back(FormatValue(hour.mean));
    cells.push_back(names.Of(hour.time));
  }
  return cells;
}

}  // namespace

void ShowHours(Stage& stage) {
  if (stage.loaded.samples == 0) return;
  using enum Table::Align;
  Table table({{"tag", Left},
               {"hours"},
               {"mean", Right, true},
               {"lowest", Right, true},
               {"hour", Left},
               {"highest", Right, true},
               {"hour", Left}},
              kWidestTag);
  const HourNames names(stage.loaded.first_ms, stage.loaded.last_ms);
  for (std::size_t i = 0; i < stage.tags.size(); ++i) {
    table.AddRow(Cells(stage.tags[i], stage.summaries[i], names));
  }
  table.MakeRoom(stage.terminal, kNarrowestTag);
  table.Print(stage.terminal);
}

}  // namespace plant
