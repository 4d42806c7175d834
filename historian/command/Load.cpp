// How import stores a file after reading it.
#include <cfloat>

#include "Console.h"
#include "Failure.h"
#include "Import.h"
#include "Text.h"
#include "historian/Backfill.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::size_t kLoadedAtOnce = 100'000;

// :1 the source.
constexpr wchar_t kForget[] = L"delete from historian_backfill where source = :1";

// The rows of a file by number; a batch may begin at any row.
class RowReader {
 public:
  explicit RowReader(SampleFile& file) : file_(file) { file_.Rewind(); }

  std::optional<std::int64_t> operator()(std::int64_t position, std::vector<LogSample>& samples) {
    if (position < row_) {
      file_.Rewind();
      row_ = 0;
    }
    std::vector<LogSample> passed;
    while (row_ < position && Next(passed)) passed.clear();
    while (samples.size() < kLoadedAtOnce && Next(samples)) {
    }
    return samples.empty() ? std::nullopt : std::optional(row_);
  }

 private:
  // Bad rows are counted, so that each row keeps its number.
  bool Next(std::vector<LogSample>& samples) {
    BadRow bad;
    if (file_.ReadRow(samples, bad) == SampleFile::Result::End) return false;
    ++row_;
    return true;
  }

  SampleFile& file_;
  std::int64_t row_ = 0;
};

void ReportInterruption(const Plan& plan, const BackfillReport& report) {
  if (report.complete) return;
  throw Interrupted("interrupted: " + Count(static_cast<std::uint64_t>(report.counts.samples), "sample") +
                    " of " + FormatCount(plan.samples) + " were loaded" +
                    (report.batchesBefore == 0 ? "" : " after those of an earlier run") +
                    "; the same command continues there");
}

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

Outcome Load(Server& server, Plan& plan, const ImportOptions& options, Terminal& terminal) {
  std::vector<std::shared_ptr<Dbms>> connections;
  for (int i = 0; i < options.connections; ++i) connections.push_back(server.Open(DbmsType::PostgreSQL));
  Progress progress(terminal, "storing", "samples");
  BackfillOptions backfill;
  backfill.progress = [&](const BackfillProgress& at) {
    const auto samples = static_cast<std::uint64_t>(at.counts.samples);
    if (at.chunks == 0) {
      progress.Show(static_cast<double>(samples) / static_cast<double>(plan.samples), samples);
    } else {
      progress.Show(static_cast<double>(at.chunksDone) / static_cast<double>(at.chunks), samples);
    }
    return InterruptNoted() == 0;
  };
  RowReader rows(*plan.file);
  const auto read = [&](std::int64_t position, std::vector<LogSample>& samples) {
    return rows(position, samples);
  };
  const BackfillReport report = Backfill(connections, plan.source, read, backfill);
  ReportInterruption(plan, report);
  // A complete import leaves nothing to continue. If the file is imported again, it is compared with what is
  // stored then.
  server.Query(
      kForget, [&](SACommand& command) { command << SAString(sys::FromUtf8(plan.source)); },
      [](SACommand&) {});

  Outcome outcome;
  outcome.stored = static_cast<std::uint64_t>(report.counts.stored);
  outcome.duplicates = static_cast<std::uint64_t>(report.counts.duplicates);
  outcome.loaded_before = plan.samples - static_cast<std::uint64_t>(report.counts.samples);
  outcome.seconds = progress.Seconds();
  return outcome;
}

}  // namespace historian::command
