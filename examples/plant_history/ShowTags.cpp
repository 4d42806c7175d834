#include <algorithm>
#include <limits>

#include "Stage.h"
#include "Table.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::size_t kWidestTag = 30;
constexpr const char* kNothing = "–";

std::string Span(std::int64_t first_ms, std::int64_t last_ms) {
  return "first " + FormatTime(first_ms) + "   last " + FormatTime(last_ms);
}

std::vector<std::string> Cells(const std::string& tag, const TagCourse& course) {
  std::vector<std::string> cells = {tag, FormatCount(course.values())};
  if (course.values() == 0) {
    cells.insert(cells.end(), 4, kNothing);
  } else {
    for (const double value : {course.smallest(), course.Mean(), course.largest(), course.last()}) {
      cells.push_back(FormatValue(value));
    }
  }
  cells.emplace_back();  // the course, once the width left for it is known
  return cells;
}

// What tells a tag from those that have a value from the first to the last row of the file.
std::string Peculiarity(const TagCourse& course, const Loaded& loaded) {
  const bool whole = course.first_ms() == loaded.first_ms && course.last_ms() == loaded.last_ms;
  const std::string span = whole || course.values() == 0 ? "" : Span(course.first_ms(), course.last_ms());
  if (course.gaps() == 0) return span;
  return FormatCount(course.gaps()) + " without a value" + (span.empty() ? "" : "   " + span);
}

Table MakeTable() {
  using enum Table::Align;
  return Table(
      {{"tag", Left}, {"samples"}, {"min", Right, true}, {"mean"}, {"max"}, {"last"}, {"course", Left, true}},
      kWidestTag);
}

}  // namespace

void ShowTags(Stage& stage) {
  if (stage.loaded.samples == 0) return;
  Table table = MakeTable();
  for (std::size_t i = 0; i < stage.tags.size(); ++i) {
    table.AddRow(Cells(stage.tags[i], stage.courses[i]));
    table.AddRemark(Peculiarity(stage.courses[i], stage.loaded));
  }
  const std::size_t width = std::min<std::uint64_t>(table.WidthOfLast(stage.terminal), stage.loaded.rows);
  for (std::size_t i = 0; i < stage.tags.size(); ++i) {
    table.SetLast(i, Sparkline(stage.courses[i].Means(width)));
  }

  stage.terminal.Line();
  stage.terminal.Line(' ' + Span(stage.loaded.first_ms, stage.loaded.last_ms) + "   " +
                      stage.terminal.Dim(stage.options.zone));
  table.Print(stage.terminal);
}

void ShowOldest(Stage& stage) {
  std::int64_t oldest = std::numeric_limits<std::int64_t>::min();
  Require(stage, stage.dbms->GetOldestLogTime(oldest), "ask for the oldest sample");
  const bool any = oldest != std::numeric_limits<std::int64_t>::min();
  stage.terminal.Line();
  stage.terminal.Fact("oldest", any ? FormatTime(oldest * 1000) + " is the oldest sample of tag history"
                                    : "tag history holds no sample");
}

}  // namespace plant
