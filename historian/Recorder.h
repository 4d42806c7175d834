#pragma once

// Store and forward: keeps samples, alarms and log records while the server is away.

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"
#include "historian/Export.h"

namespace historian {

// What accepted records survive until the server has them.
enum class Durability {
  Process,  // an end of the program at any moment
  Power     // power loss too: each Record waits for the disk, together with those of other threads
};

// What happens when the spool has reached its size.
enum class WhenFull { RefuseNewest, DropOldest };

enum class RecorderState {
  Storing,  // what is accepted goes to the server, or there is nothing to store
  Waiting,  // the server is away, cannot store anything just now, or refuses the password; the text says
            // which
  Refused,  // the server refuses the program (rights, tables) until somebody intervenes
  Full      // Record returned false because the spool had reached its size or its disk was full; lasts until
            // Record accepts something again
};

// What has just changed. Texts are UTF-8.
struct RecorderEvent {
  RecorderState state = RecorderState::Waiting;  // from now on
  std::string text;      // why: the server's words or the spool's; empty when all is well again
  std::string sqlState;  // the server's SQLSTATE, empty when it did not answer
};

struct RecorderOptions {
  std::filesystem::path spool = {};  // created when missing; its folder must exist, on a local disk

  Durability durability = Durability::Process;
  // Limit for the records in the spool. Records are also refused while less than 32 MiB are free on its disk.
  std::uint64_t mostBytes = std::uint64_t{4} << 30;
  WhenFull whenFull = WhenFull::RefuseNewest;

  std::size_t batch = 10000;  // maximum number of records in a transaction

  // Pauses between attempts to reach the server, doubling from the first to the longest. While the server
  // refuses the program, the pause is refusedPause.
  std::chrono::milliseconds firstPause{250};
  std::chrono::milliseconds longestPause{15000};
  std::chrono::milliseconds refusedPause{30000};

  // If the server takes longer than this for a batch, the connection is cut and the batch sent again. DbmsAPI
  // itself also limits by default how long it connects and how long it waits for a silent network.
  std::chrono::milliseconds callLimit{60000};

  // Called on each change of state, when records are set aside or dropped, and when the spool was damaged;
  // one call at a time, in order, on a thread of the recorder or of a caller of Record. It may call the
  // recorder, but must not destroy it, nor throw.
  std::function<void(const RecorderEvent&)> onEvent = {};
};

// Records are counted since the spool was made, over all runs of the program:
// accepted = stored + duplicates + setAside + dropped + waiting, always.
struct RecorderReport {
  RecorderState state = RecorderState::Waiting;
  std::int64_t accepted = 0;    // Record returned true for them
  std::int64_t stored = 0;      // confirmed by the server
  std::int64_t duplicates = 0;  // the server already had a record with their key
  std::int64_t setAside = 0;    // cannot be stored; kept in the spool's table set_aside with the reason
  std::int64_t dropped = 0;     // by WhenFull::DropOldest, or lost with a damaged part of the spool
  std::int64_t waiting = 0;     // in the spool, to be sent
  std::int64_t waitingBytes = 0;
  std::chrono::milliseconds oldestWaiting{0};  // how long the oldest has been waiting
  std::string lastError, lastSqlState;         // of the server or the spool; kept when all is well again
};

// Accepts records from any number of threads into a file, and brings them to the server on a thread of its
// own.
//
//   historian::Recorder recorder(dbms, {.spool = "plant.spool"});
//   std::vector<LogSample> samples = {{1700000000123, L"PUMP.SPEED", 21.5}};
//   if (!recorder.Record(samples)) ...   // true: safe in the file, server or no server
//
// In the end the database has each accepted record exactly once. Batches are numbered. The transaction that
// stores a batch also writes its number to the table historian_ledger, so that a batch whose answer was lost
// is neither lost nor stored twice. New samples do not wait for older ones: while there is more than one
// batch, the newest and the oldest samples are sent in turn. Alarms and log records keep their order.
// docs/historian.md says what is promised, how, and what is not.
class HISTORIAN_EXPORT Recorder {
 public:
  // From here on the Dbms belongs to the recorder: nobody else may use it or a copy of it. It connects on the
  // recorder's thread. Throws Error when the spool cannot be used: another recorder uses it, it is not a
  // spool, or its folder is missing.
  Recorder(std::shared_ptr<Dbms> dbms, RecorderOptions options);
  // Ends the recorder's thread; a call to the server that takes more than a few seconds longer is cut off.
  // Waiting records stay in the spool for the next run.
  ~Recorder();
  Recorder(const Recorder&) = delete;
  Recorder& operator=(const Recorder&) = delete;

  // Accepts all of the records or none. False: none is accepted, because the spool is full or cannot be
  // written; the event and Report say why. Samples that InsertLogData leaves out (no name, a time below 1 ms,
  // a value that is not finite) and texts with a NUL are set aside.
  bool Record(const std::vector<LogSample>& samples);
  bool Record(const std::vector<AlarmRecord>& alarms);
  bool Record(const std::vector<SystemLogRecord>& records);

  RecorderReport Report() const;

  // Waits until no record is left to be sent; false when that takes longer than `most`.
  bool WaitUntilStored(std::chrono::milliseconds most) const;

  // The client's role changed: asks the hostSelector of the Dbms and connects again before the next batch.
  // Use this instead of Dbms::NotifyRoleChange, and do not call Dbms::BroadcastRoleChange while a recorder
  // exists.
  void NotifyRoleChange();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace historian
