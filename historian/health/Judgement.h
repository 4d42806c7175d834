#pragma once

// Verdicts on facts that are hard to bring about on a test server. Internal: not installed.

#include <cstdint>
#include <string>

#include "historian/Health.h"

namespace historian {

// server_version_num and server_version.
Finding JudgeServerVersion(int number, const std::string& version);
// extversion of TimescaleDB.
Finding JudgeExtension(const std::string& version);

// What the extension reports of a job.
struct Job {
  int id = 0;
  std::string what;           // "policy_compression of datalog"
  bool scheduled = true;      // not switched off
  bool failed = false;        // its last run
  std::string error;          // of that run, where the account may see it
  double secondsLate = 0;     // since its next start has been due; negative: not due yet
  bool refreshes = false;     // an aggregate, whose samples it looks for in the latest minutes or hours only
  double secondsOfRetry = 0;  // by which a failure puts it off, times the failures in a row
};
Finding JudgeJob(const Job& job);

// Locks that reading every chunk of datalog in one statement takes, and those that the server has for all
// sessions together.
Finding JudgeLocks(std::int64_t needed, std::int64_t available, std::int64_t perTransaction);

// Bytes of the file system that holds the database, and of its free part; whether a retention drops samples.
Finding JudgeDisk(std::uint64_t size, std::uint64_t available, bool retention);

}  // namespace historian
