#pragma once

// The records that a Recorder has accepted and the server has not confirmed yet: one SQLite file in WAL mode.
// Internal: not installed. docs/historian.md describes the file for those who look into it.

#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "historian/recorder/SpoolFile.h"

namespace historian::recorder {

// Records of one kind, encoded: what one call of Record adds, or a part of a large one.
struct Piece {
  std::string bytes;
  std::int64_t records = 0;
};

// Consecutive blocks that are sent to the server together. At most one batch is in flight; its number is kept
// in the file.
struct Batch {
  std::int64_t number = 0;
  Kind kind = Kind::Sample;
  std::int64_t first = 0, last = 0;  // ids of the blocks
};

// Instants in epoch milliseconds, both included.
struct TimeRange {
  std::int64_t from = 0, to = 0;
  bool operator==(const TimeRange&) const = default;
};

// The result of a batch. Records that are neither stored nor set aside are duplicates.
struct Outcome {
  std::int64_t stored = 0;
  std::optional<TimeRange> late;  // samples too old for the refresh policies of the aggregates
};

// A record that the server refuses, with the server's reason.
struct Refused {
  std::string_view record;
  std::string sqlState;
  std::string reason;
};

struct SpoolLimit {
  std::uint64_t bytes = 0;  // of waiting records and those set aside
  bool dropOldest = false;  // otherwise the newest is refused
};

struct Waiting {
  std::int64_t records = 0;
  std::int64_t bytes = 0;
  std::int64_t oldestMs = 0;  // when the oldest was accepted, epoch milliseconds; 0: nothing waits
};

// Append and the reading functions may be called on any thread, the functions for batches on the worker's
// only.
class Spool {
 public:
  enum class Admission { Accepted, Full, Failed };
  struct Answer {
    Admission admission = Admission::Failed;
    std::string why;
    std::int64_t dropped = 0;  // older records, to make room
  };

  // Throws an Error when the file cannot be used.
  Spool(const std::filesystem::path& file, Syncing syncing, SpoolLimit limit);

  // Returns when all pieces are in the file, or none. Threads that call it at the same time share one commit.
  Answer Append(Kind kind, const std::vector<Piece>& pieces);

  const std::string& Id() const { return id_; }
  const std::optional<Damage>& DamageFound() const { return file_.damage; }
  // Both at the same instant, so that the totals add up.
  std::pair<Totals, Waiting> Count();

  // The batch that was on its way when the spool was opened, or that Next gave.
  const std::optional<Batch>& InFlight() const { return inFlight_; }
  // Counts and removes the batch in flight if `done` has its outcome. Then takes the next batch, of a kind
  // that `allowed` has, with at most `most` records unless a single block has more. Alarms and log records
  // are taken oldest first. Samples are taken from both ends in turn: the newest, then the oldest.
  std::optional<Batch> Next(const std::optional<Outcome>& done, const std::array<bool, kKinds>& allowed,
                            std::int64_t most);
  // The server knows batches up to `number`: the next batch gets a higher number. A batch in flight with a
  // lower number is given up; its records are taken again.
  void SkipTo(std::int64_t number);
  // Reads the blocks of the batch. Damaged ones are set aside.
  std::vector<Piece> Load(const Batch& batch);
  // Keeps the records of the batch in flight that the server refuses, before the rest is committed at the
  // server.
  void HoldAside(const std::vector<Refused>& refused);

  // The range of samples that came too late for the refresh policies of the aggregates.
  std::optional<TimeRange> Late();
  void ForgetLate(const TimeRange& late, std::int64_t upTo);

  // Returns some of the unused space to the disk; false when there is none.
  bool Shrink();

 private:
  struct Submission {
    Kind kind;
    const std::vector<Piece>& pieces;
    std::vector<std::int64_t> checksums;
    std::int64_t records = 0, bytes = 0;
    Answer answer;
    bool done = false;
  };
  struct State {
    Totals totals;
    std::int64_t records = 0, bytes = 0, asideBytes = 0;
  };
  struct Statements {
    explicit Statements(SqliteDatabase& database);
    std::array<SqliteStatement, kKinds> insert, oldest, newest, droppable, count, remove;
    SqliteStatement writeTotals, clearSending, writeSending;
    SqliteStatement holdAside, clearPending, countPending, settlePending;
  };

  void CommitTogether(const std::vector<Submission*>& group);
  void Commit(const std::vector<Submission*>& group);
  void Insert(Submission& submission, State& state);
  bool MakeRoom(Submission& submission, State& state);
  std::int64_t DropOldest(State& state);
  std::int64_t Remove(Kind kind, std::int64_t first, std::int64_t last, State& state);
  void Settle(const Outcome& outcome, State& state);
  void AddLate(const TimeRange& late);
  std::optional<Batch> Choose(const std::array<bool, kKinds>& allowed, std::int64_t most);
  std::optional<Batch> ChooseFrom(Kind kind, bool newest, std::int64_t most);
  void SetDamagedAside(Kind kind, std::int64_t id, std::int64_t records, std::string_view data);
  void WriteTotals(const Totals& totals);
  State Current() const;
  void Publish(const State& state);

  SpoolLock lock_;
  SpoolFile file_;
  SqliteDatabase& database_;
  SqliteDatabase reader_;  // the worker's, so that loading a batch does not keep others from appending
  std::filesystem::path folder_;
  std::string id_;
  SpoolLimit limit_;

  std::mutex databaseMutex_;  // guards the file and what follows
  Statements statements_;
  std::int64_t lastBatch_ = 0;
  std::optional<Batch> inFlight_;
  bool held_ = true;  // records of it may be set aside
  int lastKind_ = 0;
  bool newestNext_ = true;

  mutable std::mutex stateMutex_;
  State state_;

  std::mutex queueMutex_;
  std::condition_variable committed_;
  std::vector<Submission*> queue_;
  bool committing_ = false;
};

}  // namespace historian::recorder
