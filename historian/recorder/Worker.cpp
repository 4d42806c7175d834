#include "historian/recorder/Worker.h"

#include <algorithm>
#include <utility>

#include "historian/recorder/BatchStore.h"
#include "historian/recorder/LateSamples.h"
#include "port/Utf8.h"

namespace historian::recorder {
namespace {

constexpr auto kTimeToFinish = std::chrono::seconds(5);  // for a call that goes on when the recorder ends
constexpr char kThisSession[] =
    "select pid || ' ' || backend_start from pg_stat_activity where pid = pg_backend_pid()";
// $1 as above.
constexpr char kEndSession[] =
    "select pg_terminate_backend(pid) from pg_stat_activity where pid || ' ' || backend_start = $1";
constexpr char kBoundSession[] =
    "set tcp_keepalives_idle = 30; set tcp_keepalives_interval = 10; set tcp_keepalives_count = 3";

constexpr int kMostUnanswered = 3;
constexpr int kMostPatience = 16;

std::vector<std::string_view> Records(Kind kind, const std::vector<Piece>& pieces) {
  std::vector<std::string_view> records;
  for (const Piece& piece : pieces) {
    const auto split = SplitRecords(kind, piece.bytes, static_cast<std::size_t>(piece.records));
    records.insert(records.end(), split->begin(), split->end());
  }
  return records;
}

std::optional<TimeRange> LateIn(Kind kind, const std::vector<Piece>& pieces) {
  return kind == Kind::Sample ? LateRange(Records(kind, pieces)) : std::nullopt;
}

}  // namespace

Worker::Worker(std::shared_ptr<Dbms> dbms, const RecorderOptions& options, Spool& spool, Reporter& reporter)
    : dbms_(std::move(dbms)),
      options_(options),
      spool_(spool),
      reporter_(reporter),
      ledger_(spool.Id()),
      backoff_(options.firstPause, options.longestPause),
      thread_([this] { Run(); }) {}

Worker::~Worker() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  callLimit_.EndBy(Clock::now() + kTimeToFinish);
  wake_.notify_all();
  settled_.notify_all();
  thread_.join();
}

void Worker::Wake() {
  {
    const std::lock_guard lock(mutex_);
    work_ = true;
  }
  wake_.notify_all();
}

void Worker::ChangeRole() {
  {
    const std::lock_guard lock(mutex_);
    changeRole_ = true;
  }
  wake_.notify_all();
}

bool Worker::WaitUntilStored(Milliseconds most) {
  const Clock::time_point end = Clock::now() + most;
  std::unique_lock lock(mutex_);
  while (spool_.Count().second.records > 0) {
    if (stopping_ || settled_.wait_until(lock, end) == std::cv_status::timeout) return false;
  }
  return true;
}

void Worker::Run() {
  while (!Stopping()) {
    try {
      Turn();
    } catch (const Error& error) {
      Fail(error);
    } catch (const std::exception& error) {
      Fail(Error("recorder", error.what()));
    }
  }
}

void Worker::Turn() {
  storing_.reset();
  if (!ready_) Prepare();
  const bool again =
      spool_.InFlight() && !done_ && Allowed()[static_cast<std::size_t>(spool_.InFlight()->kind)];
  const bool settles = done_.has_value();
  const std::optional<Batch> batch =
      again ? spool_.InFlight() : spool_.Next(done_, Allowed(), static_cast<std::int64_t>(options_.batch));
  done_.reset();
  if (settles) {
    const std::lock_guard lock(mutex_);
    settled_.notify_all();
  }
  if (!batch) return Idle();

  storing_ = batch->kind;
  done_ = Store(*batch);
  ready_ = done_.has_value();
  refused_[static_cast<std::size_t>(batch->kind)] = false;
  backoff_.Reset();
  patience_ = 1;
  ShowState();
}

void Worker::Prepare() {
  bool changeRole = false;
  {
    const std::lock_guard lock(mutex_);
    changeRole = std::exchange(changeRole_, false);
  }
  if (changeRole) GoToAnotherServer();
  if (!dbms_->Connect()) {
    if (++unanswered_ % kMostUnanswered == 0) dbms_->NotifyRoleChange();
    throw Error("connecting", sys::ToUtf8(dbms_->GetLastError()));
  }
  unanswered_ = 0;
  const CallLimit::Guard limit(callLimit_, *dbms_, options_.callLimit * patience_);
  Link link(*dbms_, "preparing to store");
  EndFormerSession(link);
  Ledger::Create(link);
  SettleInFlight(link);
  LearnSafeStart(link);
  ready_ = true;
  ShowState();
}

// Objects of another type, or without a selector, take no part in role changes: for them it may be another
// host of the text that they connect to.
void Worker::GoToAnotherServer() {
  dbms_->NotifyRoleChange();
  dbms_->GetConnection()->Destroy();
}

// A link may be lost without the server noticing: its session would keep the locks of its transaction for
// hours, and nothing of the same key could be stored. The next such loss is also bounded on the server's
// side.
void Worker::EndFormerSession(Link& link) {
  const std::string session(link.Run(kThisSession).Text(0, 0));
  if (session == session_) return;
  if (!session_.empty()) link.Run(kEndSession, {session_});
  link.Run(kBoundSession);
  session_ = session;
}

// Whether the batch on its way is stored is what the ledger says: a commit whose answer was lost has happened
// or has not.
void Worker::SettleInFlight(Link& link) {
  const std::optional<Ledger::Entry> entry = ledger_.Read(link);
  const std::optional<Batch>& batch = spool_.InFlight();
  if (!entry) return;
  spool_.SkipTo(entry->batch);
  if (batch && entry->batch == batch->number) {
    done_ = Outcome{entry->stored, LateIn(batch->kind, spool_.Load(*batch))};
  }
}

// Nothing when the batch turns out to be stored already.
std::optional<Outcome> Worker::Store(const Batch& batch) {
  const std::vector<Piece> pieces = spool_.Load(batch);
  const std::vector<std::string_view> records = Records(batch.kind, pieces);
  CallLimit::Guard limit(callLimit_, *dbms_, options_.callLimit * patience_);
  Link link(*dbms_, "storing");
  try {
    if (!ledger_.Begin(link, batch.number)) {
      link.RollBack();
      return std::nullopt;
    }
    BatchStore store(*dbms_, link, batch.kind, [&] { limit.Renew(); });
    const Outcome outcome{store.Store(records), LateIn(batch.kind, pieces)};
    spool_.HoldAside(store.refused());
    ledger_.Commit(link, outcome.stored);
    for (const Refused& one : store.refused()) {
      reporter_.Say("set aside: " + Describe(batch.kind, one.record) + ": " + one.reason, one.sqlState);
    }
    return outcome;
  } catch (...) {
    link.RollBack();
    throw;
  }
}

void Worker::Idle() {
  ShowState();
  if (!Refresh() && !spool_.Shrink()) WaitForWork();
}

// Before anything late is stored; what was learned before that holds.
void Worker::LearnSafeStart(Link& link) {
  if (safeStartMs_ && spool_.Late()) return;
  try {
    safeStartMs_ = SafeStart(link);
  } catch (const Error& error) {
    if (error.SqlState().empty()) throw;
    safeStartMs_.reset();
    reporter_.Say("aggregates will not be refreshed: " + error.Text(), error.SqlState());
  }
}

// A failure keeps nothing from being stored.
bool Worker::Refresh() {
  if (!safeStartMs_ || Clock::now() < refreshFrom_ || !spool_.Late()) return false;
  try {
    const CallLimit::Guard limit(callLimit_, *dbms_, options_.callLimit);
    Link link(*dbms_, "refreshing aggregates");
    return RefreshLate(spool_, link, *safeStartMs_);
  } catch (const Error& error) {
    refreshFrom_ = Clock::now() + options_.refusedPause;
    ready_ = false;
    reporter_.Say("aggregates are not refreshed: " + error.Text(), error.SqlState());
    return true;
  }
}

void Worker::Fail(const Error& error) {
  ready_ = false;
  done_.reset();
  if (callLimit_.TakeExceeded()) patience_ = std::min(2 * patience_, kMostPatience);
  const Verdict verdict = Classify(error.SqlState());
  if (verdict == Verdict::RefusedProgram) {
    reporter_.SetState(RecorderState::Refused, error.Text(), error.SqlState());
    if (!storing_) return Pause(options_.refusedPause);
    // Records of other kinds go on.
    const auto kind = static_cast<std::size_t>(*storing_);
    refused_[kind] = true;
    refusedUntil_[kind] = Clock::now() + options_.refusedPause;
    return;
  }
  reporter_.SetState(RecorderState::Waiting, error.Text(), error.SqlState());
  if (verdict == Verdict::WrongServer) GoToAnotherServer();
  Pause(backoff_.Next(std::generate_canonical<double, 32>(random_)));
}

void Worker::ShowState() {
  const bool refused = std::find(refused_.begin(), refused_.end(), true) != refused_.end();
  reporter_.SetState(refused ? RecorderState::Refused : RecorderState::Storing);
}

std::array<bool, kKinds> Worker::Allowed() const {
  std::array<bool, kKinds> allowed{};
  const Clock::time_point now = Clock::now();
  for (std::size_t i = 0; i < allowed.size(); ++i) allowed[i] = !refused_[i] || now >= refusedUntil_[i];
  return allowed;
}

void Worker::Pause(Milliseconds pause) {
  std::unique_lock lock(mutex_);
  wake_.wait_for(lock, pause, [this] { return stopping_ || changeRole_; });
}

void Worker::WaitForWork() {
  std::unique_lock lock(mutex_);
  const auto called = [this] { return stopping_ || changeRole_ || work_; };
  Clock::time_point until = Clock::time_point::max();
  for (std::size_t i = 0; i < refused_.size(); ++i) {
    if (refused_[i]) until = std::min(until, refusedUntil_[i]);
  }
  if (until == Clock::time_point::max()) {
    wake_.wait(lock, called);
  } else {
    wake_.wait_until(lock, until, called);
  }
  work_ = false;
  if (changeRole_) ready_ = false;
}

bool Worker::Stopping() {
  const std::lock_guard lock(mutex_);
  if (changeRole_) ready_ = false;
  return stopping_;
}

}  // namespace historian::recorder
