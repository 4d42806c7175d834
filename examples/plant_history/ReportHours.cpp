#include <algorithm>

#include "History.h"
#include "HourStore.h"
#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

void AddSamples(const Stage& stage, const History& history, std::vector<HourStatistics>& statistics,
                HourStore& store) {
  for (std::size_t tag = 0; tag < statistics.size(); ++tag) {
    for (const LogPoint& point : history.at(stage.tag_names[tag])) {
      if (const auto row = statistics[tag].Add(Milliseconds(point), point.value)) store.Add(*row);
    }
  }
}

// The hours themselves; gives the seconds they took.
double ReportEach(Stage& stage, HourStore& store) {
  std::vector<HourStatistics> statistics(stage.tag_names.begin(), stage.tag_names.end());
  Progress progress(stage.terminal, "hours", stage.loaded.rows);
  std::uint64_t rows = 0;
  for (const Stretch& stretch : stage.hours.Divide(RowsPerBatch(stage))) {
    ThrowIfInterrupted();
    AddSamples(stage, ReadStretch(stage, stretch), statistics, store);
    rows += stretch.rows;
    progress.Show(rows, store.rows(), rows * stage.tags.size());
  }
  for (HourStatistics& tag : statistics) {
    if (const auto row = tag.Finish()) store.Add(*row);
  }
  store.Finish();
  return progress.Seconds();
}

std::int64_t Watermark(Stage& stage) {
  std::int64_t watermark = 0;
  Require(stage, stage.dbms->GetReportDataTime(L"analog", L"hour", &watermark), "read the watermark");
  return watermark;
}

// Whoever goes on with the report begins at the watermark. A file older than what is reported leaves it.
void MoveWatermark(Stage& stage, HourStore& store) {
  const std::int64_t wanted = std::max(Watermark(stage), store.up_to());
  Require(stage, stage.dbms->SetReportDataTime(L"analog", L"hour", wanted), "set the watermark");
  const std::int64_t stored = Watermark(stage);
  if (stored != wanted) {
    store.findings().Add("watermark: set was " + FormatTime(wanted * 1000) + ", the database has " +
                         FormatTime(stored * 1000));
  }
  std::int64_t first = 0;
  Require(stage, stage.dbms->GetReportDataFirstTime(L"analog", L"hour", &first), "ask for the first hour");
  stage.terminal.Fact("watermark", "hours are reported from " + FormatTime(first * 1000) + " to " +
                                       FormatTime(stored * 1000));
}

}  // namespace

// Like the alarms, the hours come from what tag history holds, stretch by stretch.
void ReportHours(Stage& stage) {
  Require(stage, stage.dbms->CreateReportDataTables(stage.options.retention_days),
          "create the report tables");
  stage.terminal.Line();
  HourStore store(stage);
  const double seconds = ReportEach(stage, store);
  stage.terminal.Fact("hours", FormatCount(store.rows()) + " rows, one per tag and hour with a value, in " +
                                   FormatDuration(seconds));
  if (store.left_out() != 0) {
    stage.terminal.Fact(
        "", FormatCount(store.left_out()) + " left out: from January 2038 on they do not read back");
  }
  stage.terminal.Fact("zone", "their times are read with session and process in UTC");
  if (store.rows() != 0) MoveWatermark(stage, store);
  store.findings().Tell("hour", "as it was reported");
}

}  // namespace plant
