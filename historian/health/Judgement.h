#pragma once

// Verdicts that depend on facts which are hard to produce on a test server. Internal: not installed.

#include <cstdint>
#include <string>

#include "historian/Health.h"

namespace historian {

// The parameters are server_version_num and server_version.
Finding JudgeServerVersion(int number, const std::string& version);
// The parameter is TimescaleDB's extversion.
Finding JudgeExtension(const std::string& version);

// What the extension reports of a job.
struct Job {
  int id = 0;
  std::string what;           // "policy_compression of datalog"
  bool scheduled = true;      // not switched off
  bool failed = false;        // its last run
  std::string error;          // of that run, if the account may see it
  double secondsLate = 0;     // since its next start was due; negative: not due yet
  bool refreshes = false;     // it refreshes an aggregate, which covers only the latest minutes or hours
  double secondsOfRetry = 0;  // delay after a failure, multiplied by the number of failures in a row
};
Finding JudgeJob(const Job& job);

// `needed`: locks for reading every chunk of datalog in one statement. `available`: locks of the server for
// all sessions together. `perTransaction`: max_locks_per_transaction.
Finding JudgeLocks(std::int64_t needed, std::int64_t available, std::int64_t perTransaction);

// Size and free space, in bytes, of the file system with the database; whether a retention drops samples.
Finding JudgeDisk(std::uint64_t size, std::uint64_t available, bool retention);

}  // namespace historian
