#include "historian/Recorder.h"

#include <algorithm>

#include "historian/Error.h"
#include "historian/recorder/Worker.h"

namespace historian {
namespace {

using recorder::Kind;
using recorder::Piece;
using recorder::Spool;

// Limits of a piece, because a block is read into memory as a whole.
constexpr std::size_t kMostPieceBytes = 1024 * 1024;

template <class Record>
std::vector<Piece> Encode(const std::vector<Record>& records, std::size_t mostRecords) {
  std::vector<Piece> pieces;
  for (const Record& record : records) {
    const bool full = !pieces.empty() && (static_cast<std::size_t>(pieces.back().records) == mostRecords ||
                                          pieces.back().bytes.size() >= kMostPieceBytes);
    if (pieces.empty() || full) pieces.emplace_back();
    recorder::AppendRecord(pieces.back().bytes, record);
    ++pieces.back().records;
  }
  return pieces;
}

RecorderOptions Checked(const std::shared_ptr<Dbms>& dbms, RecorderOptions options) {
  if (!dbms) throw Error("recorder", "there is no Dbms");
  if (options.spool.empty()) throw Error("recorder", "the options name no spool");
  options.batch = std::max<std::size_t>(options.batch, 1);
  return options;
}

}  // namespace

class Recorder::Impl {
 public:
  Impl(std::shared_ptr<Dbms> dbms, RecorderOptions given)
      : options(Checked(dbms, std::move(given))),
        spool(options.spool,
              options.durability == Durability::Power ? recorder::Syncing::AtCommits
                                                      : recorder::Syncing::AtCheckpoints,
              {options.mostBytes, options.whenFull == WhenFull::DropOldest}),
        reporter(options.onEvent) {
    if (spool.DamageFound()) reporter.Say(spool.DamageFound()->what);
    worker.emplace(std::move(dbms), options, spool, reporter);
  }

  template <class Record>
  bool Accept(Kind kind, const std::vector<Record>& records) {
    if (records.empty()) return true;
    const Spool::Answer answer = spool.Append(kind, Encode(records, options.batch));
    reporter.SetFull(answer.admission != Spool::Admission::Accepted, answer.why);
    if (answer.dropped > 0) {
      reporter.Say("the spool has reached its size: " + std::to_string(answer.dropped) +
                   " of the oldest records were dropped");
    }
    if (answer.admission != Spool::Admission::Accepted) return false;
    worker->Wake();
    return true;
  }

  RecorderOptions options;
  Spool spool;
  recorder::Reporter reporter;
  std::optional<recorder::Worker> worker;
};

Recorder::Recorder(std::shared_ptr<Dbms> dbms, RecorderOptions options)
    : impl_(std::make_unique<Impl>(std::move(dbms), std::move(options))) {}

Recorder::~Recorder() = default;

bool Recorder::Record(const std::vector<LogSample>& samples) { return impl_->Accept(Kind::Sample, samples); }
bool Recorder::Record(const std::vector<AlarmRecord>& alarms) { return impl_->Accept(Kind::Alarm, alarms); }
bool Recorder::Record(const std::vector<SystemLogRecord>& records) {
  return impl_->Accept(Kind::Log, records);
}

RecorderReport Recorder::Report() const {
  const auto [totals, waiting] = impl_->spool.Count();
  RecorderReport report;
  report.state = impl_->reporter.State();
  report.accepted = totals.accepted;
  report.stored = totals.stored;
  report.duplicates = totals.duplicates;
  report.setAside = totals.setAside;
  report.dropped = totals.dropped;
  report.waiting = waiting.records;
  report.waitingBytes = waiting.bytes;
  // Not negative, even after the clock was put back.
  if (waiting.oldestMs > 0) {
    report.oldestWaiting =
        std::chrono::milliseconds(std::max<std::int64_t>(recorder::NowMs() - waiting.oldestMs, 0));
  }
  std::tie(report.lastError, report.lastSqlState) = impl_->reporter.LastError();
  return report;
}

bool Recorder::WaitUntilStored(std::chrono::milliseconds most) const {
  return impl_->worker->WaitUntilStored(most);
}

void Recorder::NotifyRoleChange() { impl_->worker->ChangeRole(); }

}  // namespace historian
