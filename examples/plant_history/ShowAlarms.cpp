#include "Stage.h"
#include "Table.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::size_t kNarrowestTag = 12;
constexpr std::size_t kWidestTag = 30;
constexpr const char* kNothing = "–";

std::vector<std::string> Cells(const std::string& tag, const AlarmWatch& watch) {
  std::vector<std::string> cells = {tag, watch.limit() ? FormatValue(*watch.limit()) : kNothing,
                                    FormatCount(watch.occurred())};
  if (watch.cleared() == 0) {
    cells.insert(cells.end(), {kNothing, kNothing});
  } else {
    cells.push_back(FormatDuration(static_cast<double>(watch.longest_ms()) / 1000));
    cells.push_back(FormatTime(watch.longest_from_ms()));
  }
  return cells;
}

}  // namespace

void ShowAlarms(Stage& stage) {
  if (stage.loaded.samples == 0) return;
  using enum Table::Align;
  Table table({{"tag", Left}, {"limit"}, {"alarms", Right, true}, {"longest"}, {"from", Left, true}},
              kWidestTag);
  for (std::size_t i = 0; i < stage.tags.size(); ++i) {
    const AlarmWatch& watch = stage.watches[i];
    table.AddRow(Cells(stage.tags[i], watch));
    if (watch.standing_ms()) table.AddRemark("not cleared since " + FormatTime(*watch.standing_ms()));
  }
  table.MakeRoom(stage.terminal, kNarrowestTag);
  table.Print(stage.terminal);
}

}  // namespace plant
