#pragma once

// Store and forward: samples, alarms and log records that survive a server that is away.

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

// What accepted records survive before the server has them.
enum class Durability {
  Process,  // the end of the program at any instant
  Power     // power loss too: each Record waits for the disk, together with those of other threads
};

// What happens when the spool has reached its size.
enum class WhenFull { RefuseNewest, DropOldest };

enum class RecorderState {
  Storing,  // what is accepted goes to the server, or there is nothing to store
  Waiting,  // for the server: it is away, takes nothing just now, or refuses the password; the text says
            // which
  Refused,  // the server refuses the program (rights, tables): people have to see to it
  Full      // Record returned false: the spool had reached its size, or its disk was full. Until Record
            // accepts something again
};

// What has just changed. Texts are UTF-8.
struct RecorderEvent {
  RecorderState state = RecorderState::Waiting;  // from now on
  std::string text;      // why: the server's words or the spool's; empty when all is well again
  std::string sqlState;  // the server's SQLSTATE, empty when it did not answer
};

struct RecorderOptions {
  std::filesystem::path spool = {};  // made when it is not there; its folder has to be, on a local disk

  Durability durability = Durability::Process;
  // Of records in the spool. Nothing is accepted either with less than 32 MiB left on its disk.
  std::uint64_t mostBytes = std::uint64_t{4} << 30;
  WhenFull whenFull = WhenFull::RefuseNewest;

  std::size_t batch = 10000;  // records to a transaction, at the most

  // Pauses before the server is tried again: doubling from the first to the longest. While it refuses the
  // program it is tried at the pace of the last.
  std::chrono::milliseconds firstPause{250};
  std::chrono::milliseconds longestPause{15000};
  std::chrono::milliseconds refusedPause{30000};

  // No batch waits longer than this for the server: then the link is cut and the batch sent again. Beside
  // that, the connections of DbmsAPI are bounded by default: the time to connect, keepalives, data not
  // acknowledged.
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
  std::int64_t duplicates = 0;  // the server had a record of their key
  std::int64_t setAside = 0;    // cannot be stored; kept in the spool's table set_aside with the reason
  std::int64_t dropped = 0;     // by WhenFull::DropOldest, or lost with a damaged part of the spool
  std::int64_t waiting = 0;     // in the spool, for the server
  std::int64_t waitingBytes = 0;
  std::chrono::milliseconds oldestWaiting{0};  // how long the oldest has been waiting
  std::string lastError, lastSqlState;  // the server's or the spool's words; kept when all is well again
};

// Accepts records from any number of threads into a file, and has one thread of its own bring them to the
// server.
//
//   historian::Recorder recorder(dbms, {.spool = "plant.spool"});
//   std::vector<LogSample> samples = {{1700000000123, L"PUMP.SPEED", 21.5}};
//   if (!recorder.Record(samples)) ...   // true: safe in the file, server or no server
//
// What Record returned true for is in the database exactly once in the end. Batches are numbered; the number
// goes into the table historian_ledger in the transaction that stores the batch, so that a batch of which no
// answer came is neither lost nor sent twice. Newest samples do not wait for older ones: while there is more
// than one batch, the newest and the oldest samples are taken in turn. Alarms and log records keep their
// order. docs/historian.md says what is promised, how, and what is not.
class HISTORIAN_EXPORT Recorder {
 public:
  // The Dbms is the recorder's own from here on: nobody else may use it or a copy of it. It connects on the
  // recorder's thread. Throws Error when the spool cannot be used: another recorder has it, it is no spool,
  // the folder is missing.
  Recorder(std::shared_ptr<Dbms> dbms, RecorderOptions options);
  // Ends the recorder's thread; a call to the server that goes on for longer than a few seconds is cut off.
  // What waits stays in the spool for the next run.
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

  // Waits until nothing waits any more; false when that takes longer.
  bool WaitUntilStored(std::chrono::milliseconds most) const;

  // The client's role changed: asks the hostSelector of the Dbms and connects again before the next batch.
  // Use this in place of Dbms::NotifyRoleChange, and do not call Dbms::BroadcastRoleChange while a recorder
  // works.
  void NotifyRoleChange();

 private:
  class Impl;
  std::unique_ptr<Impl> impl_;
};

}  // namespace historian
