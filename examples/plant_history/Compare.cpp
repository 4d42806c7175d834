#include <algorithm>
#include <array>
#include <cfloat>
#include <charconv>
#include <cmath>

#include "Difference.h"
#include "Findings.h"
#include "History.h"
#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Text.h"

namespace plant {
namespace {

constexpr int kDigitsKept = 10;  // of a value, by the library

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

// Points are in the order of their times.
const LogPoint* Find(const std::vector<LogPoint>& points, std::int64_t time_ms) {
  const auto found =
      std::lower_bound(points.begin(), points.end(), time_ms,
                       [](const LogPoint& point, std::int64_t time) { return Milliseconds(point) < time; });
  return found != points.end() && Milliseconds(*found) == time_ms ? &*found : nullptr;
}

std::string Describe(double value) { return value == DBL_MAX ? "no value" : Exact(value); }

// Reads the times that the rows span, for every tag.
History ReadSpan(Stage& stage, const std::vector<PlantRow>& rows) {
  std::int64_t first = INT64_MAX;
  std::int64_t last = 0;
  for (const PlantRow& row : rows) {
    if (row.time_ms < 1) continue;
    first = std::min(first, row.time_ms);
    last = std::max(last, row.time_ms);
  }
  return last == 0 ? History() : ReadHistory(stage, first / 1000, last / 1000 + 1);
}

std::string Describe(const Stage& stage, const PlantRow& row, std::size_t tag, const LogPoint* point) {
  return OneLine(stage.options.file) + ": line " + std::to_string(row.line) + ", column " +
         std::to_string(tag + 2) + " (" + stage.tags[tag] + "): the file has " + Describe(row.values[tag]) +
         ", the database " + (point != nullptr ? Describe(point->value) : "no such sample");
}

// Takes a sample into what is kept of all of them.
void Count(Stage& stage, std::size_t tag, std::int64_t time_ms, double value) {
  if (value == DBL_MAX) {
    stage.courses[tag].Add(time_ms, {});
    return;
  }
  stage.courses[tag].Add(time_ms, value);
  stage.percentiles[tag].Add(value);
}

void CompareRow(Stage& stage, const PlantRow& row, const History& history, Findings& findings) {
  for (std::size_t tag = 0; tag < row.values.size(); ++tag) {
    if (!IsStored(row.time_ms, row.values[tag])) continue;
    const LogPoint* point = Find(history.at(stage.tag_names[tag]), row.time_ms);
    if (point == nullptr || point->value != AsStored(row.values[tag])) {
      findings.Add(Describe(stage, row, tag, point));
    }
    if (point != nullptr) Count(stage, tag, row.time_ms, point->value);
  }
}

}  // namespace

// The file is read a second time, in the same batches, and each batch against what the database holds of its
// span of time: memory stays that of one batch however long the file is.
void Compare(Stage& stage) {
  PlantFile file(stage.options.file);
  RequireSameTags(stage, file);
  stage.percentiles.assign(stage.tags.size(), Percentile99(stage.loaded.rows));
  stage.courses.assign(stage.tags.size(), TagCourse(stage.loaded.first_ms, stage.loaded.last_ms));
  Findings findings(stage);
  Progress progress(stage.terminal, "read back", file.bytes());
  std::uint64_t done = 0;
  while (true) {
    ThrowIfInterrupted();
    const auto rows = file.ReadRows(RowsPerBatch(stage));
    if (rows.empty()) break;
    const History history = ReadSpan(stage, rows);
    for (const PlantRow& row : rows) {
      CompareRow(stage, row, history, findings);
      if (row.time_ms >= 1) stage.hours.Add(row.time_ms);
    }
    done += rows.size();
    progress.Show(file.bytes_read(), done, done * stage.tags.size());
  }
  stage.terminal.Fact("read back", FormatThroughput(done, stage.loaded.samples, progress.Seconds()));
  findings.Tell("sample", "as in the file");
}

}  // namespace plant
