#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>
#include <iostream>
#include <unordered_map>

#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Text.h"

namespace plant {
namespace {

constexpr int kDigitsKept = 10;  // of a value, by the library
constexpr std::uint64_t kMismatchesShown = 5;

using History = std::unordered_map<std::wstring, std::vector<LogPoint>>;

// What a value of the file reads once stored.
double AsStored(double value) {
  if (value == DBL_MAX) return value;
  std::array<char, 32> text;
  const auto end =
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::general, kDigitsKept)
          .ptr;
  std::from_chars(text.data(), end, value);
  return value;
}

std::int64_t Milliseconds(const LogPoint& point) { return std::llround(point.time * 1000); }

// Points are in the order of their times.
const LogPoint* Find(const std::vector<LogPoint>& points, std::int64_t time_ms) {
  const auto found =
      std::lower_bound(points.begin(), points.end(), time_ms,
                       [](const LogPoint& point, std::int64_t time) { return Milliseconds(point) < time; });
  return found != points.end() && Milliseconds(*found) == time_ms ? &*found : nullptr;
}

std::string Describe(double value) {
  if (value == DBL_MAX) return "no value";
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

// Reads the times that the rows span, for every tag.
History ReadHistory(Stage& stage, const std::vector<PlantRow>& rows) {
  std::int64_t first = INT64_MAX;
  std::int64_t last = 0;
  for (const PlantRow& row : rows) {
    if (row.time_ms < 1) continue;
    first = std::min(first, row.time_ms);
    last = std::max(last, row.time_ms);
  }
  History history;
  if (last == 0) return history;
  for (const std::wstring& tag : stage.tag_names) history[tag];
  Require(stage, stage.dbms->GetLogData(first / 1000, last / 1000 + 1, history), "read samples back");
  return history;
}

void Report(Stage& stage, const PlantRow& row, std::size_t tag, const LogPoint* point) {
  if (++stage.mismatches > kMismatchesShown) return;
  stage.terminal.ClearDrawing();
  std::cerr << "plant_history: " << OneLine(stage.options.file) << ": line " << row.line << ", column "
            << tag + 2 << " (" << stage.tags[tag] << "): the file has " << Describe(row.values[tag])
            << ", the database " << (point != nullptr ? Describe(point->value) : "no such sample") << '\n';
}

void CompareRow(Stage& stage, const PlantRow& row, const History& history) {
  for (std::size_t tag = 0; tag < row.values.size(); ++tag) {
    if (!IsStored(row.time_ms, row.values[tag])) continue;
    const LogPoint* point = Find(history.at(stage.tag_names[tag]), row.time_ms);
    if (point == nullptr || point->value != AsStored(row.values[tag])) Report(stage, row, tag, point);
    if (point == nullptr) continue;
    const bool gap = point->value == DBL_MAX;
    stage.courses[tag].Add(row.time_ms, gap ? std::nullopt : std::optional(point->value));
  }
}

}  // namespace

// The file is read a second time, in the same batches, and each batch against what the database holds of its
// span of time: memory stays that of one batch however long the file is.
void Compare(Stage& stage) {
  PlantFile file(stage.options.file);
  RequireSameTags(stage, file);
  stage.courses.assign(stage.tags.size(), TagCourse(stage.loaded.first_ms, stage.loaded.last_ms));
  Progress progress(stage.terminal, "read back", file.bytes());
  std::uint64_t done = 0;
  while (true) {
    ThrowIfInterrupted();
    const auto rows = file.ReadRows(RowsPerBatch(stage));
    if (rows.empty()) break;
    const History history = ReadHistory(stage, rows);
    for (const PlantRow& row : rows) CompareRow(stage, row, history);
    done += rows.size();
    progress.Show(file.bytes_read(), done, done * stage.tags.size());
  }
  stage.terminal.Fact("read back", FormatThroughput(done, stage.loaded.samples, progress.Seconds()));
  std::string verdict = "every sample is in the database as in the file";
  if (stage.mismatches == 1) verdict = "1 sample is not as in the file";
  if (stage.mismatches > 1) verdict = FormatCount(stage.mismatches) + " samples are not as in the file";
  stage.terminal.Fact("compared", verdict);
}

}  // namespace plant
