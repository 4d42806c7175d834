#pragma once

// Shared by the checks of Health. Internal: not installed.

#include <optional>
#include <string>

#include "historian/Health.h"
#include "historian/Link.h"

namespace historian {

struct Examination {
  Link& link;
  Dbms& dbms;
  const HealthOptions& options;
  HealthReport& report;
  bool timescale = false;  // whether TimescaleDB is installed in this database

  void Ok(std::string check, std::string found) { Add(std::move(check), Verdict::Ok, std::move(found), {}); }
  void Warn(std::string check, std::string found, std::string advice) {
    Add(std::move(check), Verdict::Warning, std::move(found), std::move(advice));
  }
  void Fail(std::string check, std::string found, std::string advice) {
    Add(std::move(check), Verdict::Failed, std::move(found), std::move(advice));
  }

 private:
  void Add(std::string check, Verdict verdict, std::string found, std::string advice) {
    report.findings.push_back({std::move(check), verdict, std::move(found), std::move(advice)});
  }
};

// Each check adds one or more findings, and throws historian::Error when the server refuses a statement.
void CheckServerVersion(Examination& at);
void CheckExtension(Examination& at);
void CheckTables(Examination& at);
void CheckPrivileges(Examination& at);
void CheckRole(Examination& at);
void CheckReplication(Examination& at);
void CheckSettings(Examination& at);
void CheckTimeZone(Examination& at);
void CheckDisk(Examination& at);
void CheckNewestSample(Examination& at);
void CheckStoppedTags(Examination& at);
// These need TimescaleDB.
void CheckJobs(Examination& at);
void CheckScheduler(Examination& at);
void CheckUncompressedChunks(Examination& at);
void CheckCompression(Examination& at);
void CheckAggregates(Examination& at);
void CheckLocks(Examination& at);

}  // namespace historian
