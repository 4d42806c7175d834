#include <algorithm>
#include <cfloat>
#include <chrono>
#include <cmath>

#include "Interrupt.h"
#include "Progress.h"
#include "Stage.h"
#include "Text.h"

namespace plant {
namespace {

void AppendSamples(const Stage& stage, const PlantRow& row, std::vector<LogSample>& samples) {
  for (std::size_t tag = 0; tag < row.values.size(); ++tag) {
    samples.push_back({row.time_ms, stage.tag_names[tag], row.values[tag]});
  }
}

void Count(Loaded& loaded, const std::vector<LogSample>& samples) {
  for (const LogSample& sample : samples) {
    if (!IsStored(sample.timeMs, sample.value)) {
      ++loaded.left_out;
      continue;
    }
    if (loaded.samples == 0) loaded.first_ms = loaded.last_ms = sample.timeMs;
    loaded.first_ms = std::min(loaded.first_ms, sample.timeMs);
    loaded.last_ms = std::max(loaded.last_ms, sample.timeMs);
    ++loaded.samples;
    if (sample.value == DBL_MAX) ++loaded.gaps;
  }
}

bool ReachesBehind(const Loaded& loaded, int days) {
  using std::chrono::system_clock;
  const system_clock::time_point first{std::chrono::milliseconds(loaded.first_ms)};
  return loaded.samples != 0 && first < system_clock::now() - std::chrono::days(days);
}

// Samples that are past their time when they come live only until the server next looks.
void WarnOfRetention(Stage& stage) {
  const int days = stage.options.retention_days;
  if (!stage.timescale || days == 0 || !ReachesBehind(stage.loaded, days)) return;
  stage.terminal.Fact("note", "the file goes back further than the retention: the server drops");
  stage.terminal.Fact("", "such samples when its job next runs; --retention 0 keeps them");
}

}  // namespace

bool IsStored(std::int64_t time_ms, double value) { return time_ms >= 1 && std::isfinite(value); }

// Each batch is parsed whole before any of it is sent, so of a batch with a damaged row nothing is stored.
void Load(Stage& stage) {
  PlantFile file(stage.options.file);
  RequireSameTags(stage, file);
  Loaded& loaded = stage.loaded;
  Progress progress(stage.terminal, "load", file.bytes());
  std::vector<LogSample> samples;
  while (true) {
    ThrowIfInterrupted();
    const auto rows = file.ReadRows(RowsPerBatch(stage));
    if (rows.empty()) break;
    samples.clear();
    for (const PlantRow& row : rows) AppendSamples(stage, row, samples);
    Require(stage, stage.dbms->InsertLogData(samples), "store samples");
    Count(loaded, samples);
    loaded.rows += rows.size();
    progress.Show(file.bytes_read(), loaded.rows, loaded.samples);
  }
  stage.terminal.Fact("load", FormatThroughput(loaded.rows, loaded.samples, progress.Seconds()));
  if (loaded.left_out != 0) {
    stage.terminal.Fact("", FormatCount(loaded.left_out) + " left out: before 1970, or not finite");
  }
  WarnOfRetention(stage);
}

}  // namespace plant
