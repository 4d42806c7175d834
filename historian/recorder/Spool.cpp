#include "historian/recorder/Spool.h"

#include <algorithm>
#include <new>

namespace historian::recorder {
namespace {

constexpr std::int64_t kBytesPerBlock = 64;  // approximate overhead of the file

// Removing stored records needs space, too: SQLite's log grows to 16 MiB, and the file by as much when the
// log is moved into it.
constexpr std::uintmax_t kLeftOnDisk = 32 << 20;
constexpr char kDiskIsFull[] = "less than 32 MiB are left on the disk of the spool";

// One statement for each kind; # is the table's name.
std::array<SqliteStatement, kKinds> ForEachKind(SqliteDatabase& database, const std::string& text) {
  const auto prepare = [&](Kind kind) {
    std::string statement = text;
    statement.replace(statement.find('#'), 1, BlockTable(kind));
    return database.Prepare(statement.c_str());
  };
  return {prepare(Kind::Sample), prepare(Kind::Alarm), prepare(Kind::Log)};
}

// If the system does not report the free space, there is enough of it.
bool HasRoom(const std::filesystem::path& folder) {
  std::error_code unknown;
  return std::filesystem::space(folder, unknown).available >= kLeftOnDisk;
}

}  // namespace

Spool::Statements::Statements(SqliteDatabase& database)
    : insert(ForEachKind(database, "insert into # (records, arrived, checksum, data) values (?, ?, ?, ?)")),
      oldest(ForEachKind(database, "select id, records, length(data), arrived from # order by id")),
      newest(ForEachKind(database, "select id, records, length(data) from # order by id desc")),
      droppable(ForEachKind(database, "select id from # where id not between ? and ? order by id limit 1")),
      count(ForEachKind(database,
                        "select coalesce(sum(records), 0), coalesce(sum(length(data)), 0), count(*)"
                        " from # where id between ? and ?")),
      remove(ForEachKind(database, "delete from # where id between ? and ?")),
      writeTotals(database.Prepare(
          "update spool set accepted = ?, stored = ?, duplicates = ?, set_aside = ?, dropped = ?")),
      clearSending(database.Prepare("delete from sending")),
      writeSending(database.Prepare("insert into sending (batch, kind, first, last) values (?, ?, ?, ?)")),
      holdAside(
          database.Prepare("insert into set_aside (pending, kind, records, at, sqlstate, reason, record,"
                           " data) values (?, ?, ?, ?, ?, ?, ?, ?)")),
      clearPending(database.Prepare("delete from set_aside where pending = 1")),
      countPending(database.Prepare(
          "select coalesce(sum(records), 0), coalesce(sum(length(data)), 0) from set_aside where pending = 1")),
      settlePending(database.Prepare("update set_aside set pending = 0 where pending = 1")) {}

Spool::Spool(const std::filesystem::path& file, Syncing syncing, SpoolLimit limit)
    : lock_(file),
      file_(OpenSpoolFile(file, syncing)),
      database_(file_.database),
      reader_(file, SqliteDatabase::Access::ReadOnly),
      folder_(std::filesystem::absolute(file).parent_path()),
      limit_(limit),
      statements_(database_) {
  SqliteStatement row = database_.Prepare("select id, batch from spool");
  row.Step();
  id_ = row.Bytes(0);
  lastBatch_ = row.Integer(1);
  SqliteStatement sending = database_.Prepare("select batch, kind, first, last from sending");
  if (sending.Step()) {
    inFlight_ = Batch{sending.Integer(0), static_cast<Kind>(sending.Integer(1)), sending.Integer(2),
                      sending.Integer(3)};
  }
  state_.totals = ReadTotals(database_);
  for (SqliteStatement& count : statements_.count) {
    count.With(std::int64_t{0}, INT64_MAX).Step();
    state_.records += count.Integer(0);
    state_.bytes += count.Integer(1) + kBytesPerBlock * count.Integer(2);
    count.Reset();
  }
  state_.asideBytes = database_.Value("select coalesce(sum(length(data)), 0) from set_aside");
}

Spool::Answer Spool::Append(Kind kind, const std::vector<Piece>& pieces) {
  Submission submission{kind, pieces, {}, 0, 0, {}, false};
  for (const Piece& piece : pieces) {
    submission.checksums.push_back(Checksum(piece.bytes));
    submission.records += piece.records;
    submission.bytes += static_cast<std::int64_t>(piece.bytes.size()) + kBytesPerBlock;
  }
  std::unique_lock lock(queueMutex_);
  queue_.push_back(&submission);
  while (!submission.done) {
    if (committing_) {
      committed_.wait(lock);
      continue;
    }
    committing_ = true;
    const std::vector<Submission*> group = std::exchange(queue_, {});
    lock.unlock();
    CommitTogether(group);
    lock.lock();
    committing_ = false;
    for (Submission* one : group) one->done = true;
    committed_.notify_all();
  }
  return submission.answer;
}

// Must not throw, because other threads wait for their answers.
void Spool::CommitTogether(const std::vector<Submission*>& group) {
  try {
    Commit(group);
  } catch (const std::bad_alloc&) {
    for (Submission* one : group) {
      one->answer.admission = Admission::Failed;
      one->answer.dropped = 0;
      one->answer.why = "out of memory";  // short enough to need no allocation
    }
  }
}

void Spool::Commit(const std::vector<Submission*>& group) {
  const std::lock_guard lock(databaseMutex_);
  if (!HasRoom(folder_)) {
    for (Submission* one : group) one->answer = {Admission::Full, kDiskIsFull, 0};
    return;
  }
  try {
    State state = Current();
    SqliteTransaction transaction(database_);
    for (Submission* one : group) Insert(*one, state);
    WriteTotals(state.totals);
    transaction.Commit();
    Publish(state);
  } catch (const SqliteFailure& failure) {
    const Admission admission = failure.IsFull() ? Admission::Full : Admission::Failed;
    for (Submission* one : group) one->answer = {admission, failure.Text(), 0};
  }
}

void Spool::Insert(Submission& submission, State& state) {
  if (!MakeRoom(submission, state)) {
    submission.answer.admission = Admission::Full;
    submission.answer.why = "the spool has reached its size of " + std::to_string(limit_.bytes) + " bytes";
    return;
  }
  const std::int64_t now = NowMs();
  for (std::size_t i = 0; i < submission.pieces.size(); ++i) {
    const Piece& piece = submission.pieces[i];
    statements_.insert[Index(submission.kind)]
        .With(piece.records, now, submission.checksums[i], AsBlob(piece.bytes))
        .Run();
  }
  state.totals.accepted += submission.records;
  state.records += submission.records;
  state.bytes += submission.bytes;
  submission.answer.admission = Admission::Accepted;
}

bool Spool::MakeRoom(Submission& submission, State& state) {
  const auto fits = [&] {
    return static_cast<std::uint64_t>(state.bytes + state.asideBytes + submission.bytes) <= limit_.bytes;
  };
  if (!limit_.dropOldest || static_cast<std::uint64_t>(state.asideBytes + submission.bytes) > limit_.bytes) {
    return fits();
  }
  while (!fits()) {
    const std::int64_t dropped = DropOldest(state);
    if (dropped == 0) return false;
    submission.answer.dropped += dropped;
  }
  return true;
}

// Drops samples first and alarms last. The batch in flight stays.
std::int64_t Spool::DropOldest(State& state) {
  for (const Kind kind : {Kind::Sample, Kind::Log, Kind::Alarm}) {
    const bool isSending = inFlight_ && inFlight_->kind == kind;
    SqliteStatement& find = statements_.droppable[Index(kind)];
    find.With(isSending ? inFlight_->first : -1, isSending ? inFlight_->last : -1);
    const bool found = find.Step();
    const std::int64_t id = found ? find.Integer(0) : 0;
    find.Reset();
    if (!found) continue;
    const std::int64_t records = Remove(kind, id, id, state);
    state.totals.dropped += records;
    return records;
  }
  return 0;
}

std::int64_t Spool::Remove(Kind kind, std::int64_t first, std::int64_t last, State& state) {
  SqliteStatement& count = statements_.count[Index(kind)].With(first, last);
  count.Step();
  const std::int64_t records = count.Integer(0);
  state.records -= records;
  state.bytes -= count.Integer(1) + kBytesPerBlock * count.Integer(2);
  count.Reset();
  statements_.remove[Index(kind)].With(first, last).Run();
  return records;
}

void Spool::WriteTotals(const Totals& t) {
  statements_.writeTotals.With(t.accepted, t.stored, t.duplicates, t.setAside, t.dropped).Run();
}

Spool::State Spool::Current() const {
  const std::lock_guard lock(stateMutex_);
  return state_;
}

void Spool::Publish(const State& state) {
  const std::lock_guard lock(stateMutex_);
  state_ = state;
}

std::pair<Totals, Waiting> Spool::Count() {
  const std::lock_guard lock(databaseMutex_);
  const State state = Current();
  Waiting waiting{state.records, state.bytes, 0};
  for (SqliteStatement& oldest : statements_.oldest) {
    if (oldest.With().Step() && (waiting.oldestMs == 0 || oldest.Integer(3) < waiting.oldestMs)) {
      waiting.oldestMs = oldest.Integer(3);
    }
    oldest.Reset();
  }
  return {state.totals, waiting};
}

}  // namespace historian::recorder
