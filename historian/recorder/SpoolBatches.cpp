// The worker's part of the spool: taking, loading and settling batches.

#include <algorithm>

#include "historian/recorder/Spool.h"

namespace historian::recorder {
namespace {

constexpr std::int64_t kMostBatchBytes = 4 << 20;  // small, because a batch is in memory several times
constexpr std::int64_t kMostUnusedPages = 1024;    // 4 MiB are kept for the next records
constexpr std::int64_t kPagesAtOnce = 2000;        // few, so that nobody waits long

}  // namespace

std::optional<Batch> Spool::Next(const std::optional<Outcome>& done, const std::array<bool, kKinds>& allowed,
                                 std::int64_t most) {
  const std::lock_guard lock(databaseMutex_);
  State state = Current();
  SqliteTransaction transaction(database_);
  if (done && inFlight_) Settle(*done, state);
  std::optional<Batch> next = Choose(allowed, most);
  if (!done && !next && !inFlight_) return next;
  statements_.clearSending.Run();
  if (held_) statements_.clearPending.Run();
  if (next) {
    statements_.writeSending
        .With(next->number, static_cast<std::int64_t>(next->kind), next->first, next->last)
        .Run();
    database_.Prepare("update spool set batch = ?").With(next->number).Run();
  }
  transaction.Commit();
  Publish(state);
  inFlight_ = next;
  held_ = false;
  if (next) lastBatch_ = next->number;
  return next;
}

void Spool::SkipTo(std::int64_t number) {
  const std::lock_guard lock(databaseMutex_);
  lastBatch_ = std::max(lastBatch_, number);
  if (inFlight_ && inFlight_->number < number) inFlight_.reset();
}

void Spool::Settle(const Outcome& outcome, State& state) {
  statements_.countPending.With().Step();
  const std::int64_t setAside = statements_.countPending.Integer(0);
  state.asideBytes += statements_.countPending.Integer(1);
  statements_.countPending.Reset();
  statements_.settlePending.With().Run();

  const std::int64_t records = Remove(inFlight_->kind, inFlight_->first, inFlight_->last, state);
  const std::int64_t stored = std::clamp<std::int64_t>(outcome.stored, 0, records - setAside);
  state.totals.setAside += setAside;
  state.totals.stored += stored;
  state.totals.duplicates += records - setAside - stored;
  WriteTotals(state.totals);
  if (outcome.late) AddLate(*outcome.late);
}

std::optional<Batch> Spool::Choose(const std::array<bool, kKinds>& allowed, std::int64_t most) {
  for (int turn = 1; turn <= kKinds; ++turn) {
    const int number = (lastKind_ + turn) % kKinds;
    if (!allowed[static_cast<std::size_t>(number)]) continue;
    const auto kind = static_cast<Kind>(number);
    const bool newest = kind == Kind::Sample && newestNext_;
    std::optional<Batch> batch = ChooseFrom(kind, newest, most);
    if (!batch) continue;
    if (kind == Kind::Sample) newestNext_ = !newestNext_;
    lastKind_ = number;
    return batch;
  }
  return std::nullopt;
}

std::optional<Batch> Spool::ChooseFrom(Kind kind, bool newest, std::int64_t most) {
  SqliteStatement& blocks = (newest ? statements_.newest : statements_.oldest)[Index(kind)].With();
  std::optional<Batch> batch;
  std::int64_t records = 0, bytes = 0;
  while (blocks.Step()) {
    const std::int64_t id = blocks.Integer(0);
    records += blocks.Integer(1);
    bytes += blocks.Integer(2);
    if (batch && (records > most || bytes > kMostBatchBytes)) break;
    if (!batch) batch = Batch{lastBatch_ + 1, kind, id, id};
    batch->first = std::min(batch->first, id);
    batch->last = std::max(batch->last, id);
  }
  blocks.Reset();
  return batch;
}

std::vector<Piece> Spool::Load(const Batch& batch) {
  SqliteStatement read =
      reader_.Prepare(("select id, records, checksum, data from " + std::string(BlockTable(batch.kind)) +
                       " where id between ? and ? order by id")
                          .c_str());
  std::vector<Piece> pieces;
  read.With(batch.first, batch.last);
  while (read.Step()) {
    const std::int64_t records = read.Integer(1);
    const std::string_view data = read.Bytes(3);
    if (Checksum(data) == read.Integer(2) &&
        SplitRecords(batch.kind, data, static_cast<std::size_t>(records))) {
      pieces.push_back({std::string(data), records});
    } else {
      SetDamagedAside(batch.kind, read.Integer(0), records, data);
    }
  }
  return pieces;
}

void Spool::SetDamagedAside(Kind kind, std::int64_t id, std::int64_t records, std::string_view data) {
  const std::lock_guard lock(databaseMutex_);
  State state = Current();
  SqliteTransaction transaction(database_);
  statements_.holdAside
      .With(std::int64_t{0}, static_cast<std::int64_t>(kind), records, NowMs(), std::string_view(),
            std::string_view("the block is damaged: its checksum differs"), std::string_view("damaged"),
            AsBlob(data))
      .Run();
  Remove(kind, id, id, state);
  state.totals.setAside += records;
  state.asideBytes += static_cast<std::int64_t>(data.size());
  WriteTotals(state.totals);
  transaction.Commit();
  Publish(state);
}

void Spool::HoldAside(const std::vector<Refused>& refused) {
  if (refused.empty() && !held_) return;
  const std::lock_guard lock(databaseMutex_);
  SqliteTransaction transaction(database_);
  statements_.clearPending.With().Run();
  for (const Refused& one : refused) {
    statements_.holdAside
        .With(std::int64_t{1}, static_cast<std::int64_t>(inFlight_->kind), std::int64_t{1}, NowMs(),
              std::string_view(one.sqlState), std::string_view(one.reason),
              std::string_view(Describe(inFlight_->kind, one.record)), AsBlob(one.record))
        .Run();
  }
  transaction.Commit();
  held_ = true;
}

std::optional<TimeRange> Spool::Late() {
  SqliteStatement read = reader_.Prepare("select late_from, late_to from spool");
  if (!read.Step() || read.IsNull(0)) return std::nullopt;
  return TimeRange{read.Integer(0), read.Integer(1)};
}

void Spool::AddLate(const TimeRange& late) {
  database_
      .Prepare(
          "update spool set late_from = min(coalesce(late_from, ?1), ?1),"
          " late_to = max(coalesce(late_to, ?2), ?2)")
      .With(late.from, late.to)
      .Run();
}

// Does nothing if the range was extended at its beginning meanwhile.
void Spool::ForgetLate(const TimeRange& late, std::int64_t upTo) {
  const std::lock_guard lock(databaseMutex_);
  database_.Prepare("update spool set late_from = ?1 + 1 where late_from = ?2").With(upTo, late.from).Run();
  database_.Run("update spool set late_from = null, late_to = null where late_from > late_to");
}

bool Spool::Shrink() {
  const std::lock_guard lock(databaseMutex_);
  if (database_.Value("pragma freelist_count") <= kMostUnusedPages) return false;
  database_.Run(("pragma incremental_vacuum(" + std::to_string(kPagesAtOnce) + ")").c_str());
  if (database_.Value("pragma freelist_count") <= kMostUnusedPages) database_.Checkpoint();
  return true;
}

}  // namespace historian::recorder
