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

// What goes before the table, for all tags whose samples span the whole file.
std::string Span(std::int64_t first_ms, std::int64_t last_ms) {
  return "first " + FormatTime(first_ms) + "   last " + FormatTime(last_ms);
}

std::vector<std::string> Cells(const std::string& tag, const TagCourse& course, bool with_gaps) {
  std::vector<std::string> cells = {tag, FormatCount(course.samples())};
  if (with_gaps) cells.push_back(FormatCount(course.gaps()));
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

Table MakeTable(bool with_gaps) {
  using enum Table::Align;
  std::vector<Table::Column> columns = {{"tag", Left}, {"samples"}};
  if (with_gaps) columns.push_back({"empty"});
  columns.insert(columns.end(), {{"min", Right, true}, {"mean"}, {"max"}, {"last"}, {"course", Left, true}});
  return Table(std::move(columns), kWidestTag);
}

}  // namespace

void ShowTags(Stage& stage) {
  if (stage.loaded.samples == 0) return;
  const bool with_gaps = stage.loaded.gaps != 0;
  Table table = MakeTable(with_gaps);
  for (std::size_t i = 0; i < stage.tags.size(); ++i) {
    const TagCourse& course = stage.courses[i];
    table.AddRow(Cells(stage.tags[i], course, with_gaps));
    if (course.values() == 0) continue;
    if (course.first_ms() != stage.loaded.first_ms || course.last_ms() != stage.loaded.last_ms) {
      table.AddRemark(Span(course.first_ms(), course.last_ms()));
    }
  }
  const std::size_t width = std::min<std::uint64_t>(table.WidthOfLast(stage.terminal), stage.loaded.rows);
  for (std::size_t i = 0; i < stage.tags.size(); ++i)
    table.SetLast(i, Sparkline(stage.courses[i].Means(width)));

  stage.terminal.Line();
  stage.terminal.Line(' ' + Span(stage.loaded.first_ms, stage.loaded.last_ms) + "   " +
                      stage.terminal.Dim(stage.options.zone));
  table.Print(stage.terminal);
}

void ShowOldest(Stage& stage) {
  std::int64_t oldest = std::numeric_limits<std::int64_t>::min();
  Require(stage, stage.dbms->GetOldestLogTime(oldest), "ask for the oldest sample");
  const bool any = oldest != std::numeric_limits<std::int64_t>::min();
  stage.terminal.Fact("oldest", any ? FormatTime(oldest * 1000) + " is the oldest sample of tag history"
                                    : "tag history holds no sample");
}

}  // namespace plant
