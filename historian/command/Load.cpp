// How import stores a file that it has understood.
#include <algorithm>
#include <cfloat>

#include "Failure.h"
#include "Import.h"
#include "Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::size_t kBatch = 50'000;

}  // namespace

void Plan::Add(const std::vector<LogSample>& row) {
  ++rows;
  samples += row.size();
  for (const LogSample& sample : row) {
    without_value += sample.value == DBL_MAX;
    if (seen_.insert(sample.tagName).second) tags.insert(sys::ToUtf8(sample.tagName));
  }
  if (row.empty()) return;
  const Time time{std::chrono::milliseconds(row[0].timeMs)};
  first = std::min(first, time);
  last = std::max(last, time);
  out_of_order += time < previous_;
  previous_ = time;
}

Outcome Load(Server& server, Plan& plan, const ImportOptions&, Terminal& terminal) {
  Outcome outcome;
  Progress progress(terminal, "storing", "samples");
  plan.file->Rewind();
  std::vector<LogSample> batch;
  BadRow bad;
  for (auto result = SampleFile::Result::Row; result != SampleFile::Result::End;) {
    result = plan.file->ReadRow(batch, bad);
    if (batch.size() < kBatch && result != SampleFile::Result::End) continue;
    ThrowIfInterrupted();
    server.Require(server.dbms().InsertLogData(batch), "store samples");
    outcome.stored += batch.size();
    batch.clear();
    progress.Show(plan.file->share(), outcome.stored);
  }
  outcome.seconds = progress.Seconds();
  return outcome;
}

}  // namespace historian::command
