#pragma once

// Checks the store: is everything there, does it work, and if not, what is to be done.
//
//   const auto report = historian::CheckHealth(*dbms, {.retentionDays = {{"datalog", 365}}});
//   for (const auto& finding : report.findings) Print(finding.check, finding.found, finding.advice);
//   return static_cast<int>(report.Worst());

#include <chrono>
#include <map>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"
#include "historian/Export.h"

namespace historian {

// The numbers are exit statuses, as monitoring systems use them.
enum class Verdict {
  Ok = 0,
  Warning = 1,  // something needs attention, or a check could not be made
  Failed = 2    // samples are lost or refused, or will be
};

struct Finding {
  std::string check;  // what was looked at: "jit", "table alarm"
  Verdict verdict = Verdict::Ok;
  std::string found;
  std::string advice;  // statements (separated by "; "), a setting or a command; empty when all is well
};

struct HealthOptions {
  // Days of retention that a table should have; 0: none. Tables that are not named keep what they have.
  std::map<std::string, int> retentionDays;
  // A newest sample older than this is a warning.
  std::chrono::minutes lateAfter{60};
  // A tag that had samples during the last week and none for so long has stopped. Without TimescaleDB the
  // search reads the whole table, unless an index begins with the tag name; 0 turns it off.
  std::chrono::minutes stoppedAfter{24 * 60};
};

struct HealthReport {
  std::vector<Finding> findings;

  HISTORIAN_EXPORT Verdict Worst() const;  // Ok while there is no finding
};

// Runs every check over the object's connection, and connects if necessary. Changes nothing at the server:
// every statement is allowed in a read-only transaction. A server that cannot be reached, or that is lost
// meanwhile, is a finding. A check that the account may not make, or that fails otherwise, is a warning that
// says why. Settings are those of this session: connect again after a change.
HISTORIAN_EXPORT HealthReport CheckHealth(Dbms& dbms, const HealthOptions& options = {});

}  // namespace historian
