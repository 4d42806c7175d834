#include "historian/recorder/Delivery.h"

#include <algorithm>
#include <utility>

#include "historian/recorder/BatchStore.h"
#include "historian/recorder/LateSamples.h"
#include "port/Utf8.h"

namespace historian::recorder {
namespace {

constexpr char kThisSession[] =
    "select pid || ' ' || backend_start from pg_stat_activity where pid = pg_backend_pid()";
// $1 a session, as kThisSession returns it.
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

std::optional<Outcome> Delivery::Prepare() {
  if (!dbms_->Connect()) {
    if (++unanswered_ % kMostUnanswered == 0) dbms_->NotifyRoleChange();
    throw Error("connecting", sys::ToUtf8(dbms_->GetLastError()));
  }
  unanswered_ = 0;
  const CallLimit::Guard limit(callLimit_, *dbms_, options_.callLimit * patience_);
  Link link(*dbms_, "preparing to store");
  EndFormerSession(link);
  Ledger::Create(link);
  std::optional<Outcome> settled = SettleInFlight(link);
  LearnSafeStart(link);
  return settled;
}

// Objects of another type, or without a selector, take no part in role changes. They may reach another host
// of their connection text when they connect again.
void Delivery::GoToAnotherServer() {
  dbms_->NotifyRoleChange();
  dbms_->GetConnection()->Destroy();
}

// The server may not notice that a connection was lost. Its session would then keep the locks of its
// transaction for hours, and no record with the same key could be stored. Keepalives limit that time for the
// next such loss.
void Delivery::EndFormerSession(Link& link) {
  const std::string session(link.Run(kThisSession).Text(0, 0));
  if (session == session_) return;
  if (!session_.empty()) link.Run(kEndSession, {session_});
  link.Run(kBoundSession);
  session_ = session;
}

// The ledger decides whether the batch in flight is stored, in case the answer to its commit was lost.
std::optional<Outcome> Delivery::SettleInFlight(Link& link) {
  const std::optional<Ledger::Entry> entry = ledger_.Read(link);
  if (!entry) return std::nullopt;
  spool_.SkipTo(entry->batch);
  const std::optional<Batch>& batch = spool_.InFlight();
  if (!batch || entry->batch != batch->number) return std::nullopt;
  return Outcome{entry->stored, LateIn(batch->kind, spool_.Load(*batch))};
}

std::optional<Outcome> Delivery::Store(const Batch& batch) {
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
    patience_ = 1;
    return outcome;
  } catch (...) {
    link.RollBack();
    throw;
  }
}

// Called before late samples are stored. While there are any, the earlier result stays valid.
void Delivery::LearnSafeStart(Link& link) {
  if (safeStartMs_ && spool_.Late()) return;
  try {
    safeStartMs_ = SafeStart(link);
  } catch (const Error& error) {
    if (error.SqlState().empty()) throw;
    safeStartMs_.reset();
    reporter_.Say("aggregates will not be refreshed: " + error.Text(), error.SqlState());
  }
}

bool Delivery::RefreshAggregates() {
  if (!safeStartMs_ || !spool_.Late()) return false;
  const CallLimit::Guard limit(callLimit_, *dbms_, options_.callLimit);
  Link link(*dbms_, "refreshing aggregates");
  return RefreshLate(spool_, link, *safeStartMs_);
}

void Delivery::LearnFromFailure() {
  if (callLimit_.TakeExceeded()) patience_ = std::min(2 * patience_, kMostPatience);
}

}  // namespace historian::recorder
