#include "historian/Health.h"

#include <algorithm>

#include "historian/Error.h"
#include "historian/health/Examination.h"

namespace historian {
namespace {

struct Check {
  const char* name;
  void (*run)(Examination& at);
};

constexpr Check kChecks[] = {{"server version", CheckServerVersion},
                             {"extension", CheckExtension},
                             {"role", CheckRole},
                             {"replication", CheckReplication},
                             {"settings", CheckSettings},
                             {"time zone", CheckTimeZone},
                             {"privileges", CheckPrivileges},
                             {"tables", CheckTables},
                             {"newest sample", CheckNewestSample},
                             {"stopped tags", CheckStoppedTags},
                             {"disk", CheckDisk}};

constexpr Check kTimescaleChecks[] = {
    {"scheduler", CheckScheduler}, {"jobs", CheckJobs},          {"compression", CheckUncompressedChunks},
    {"sizes", CheckCompression},   {"refresh", CheckAggregates}, {"locks", CheckLocks}};

constexpr char kCannotConnect[] = "start the server, or correct host, port, database, user and password";

// Whether the server is gone: there was no answer, the connection failed (08), or the server shuts down
// (57P).
bool ServerLost(const Error& error) {
  return error.SqlState().empty() || error.SqlState().starts_with("08") ||
         error.SqlState().starts_with("57P");
}

// What may help when a check was refused: 42501 is a missing privilege, 42P01 a missing table.
std::string AdviceFor(Examination& at, const Error& error) {
  if (error.SqlState() == "42P01") return "historian init";
  if (error.SqlState() != "42501") return "look at the server's log";
  return std::string(
      at.link.Run("select format('grant pg_monitor, pg_read_all_data to %I', current_user)").Text(0, 0));
}

void Examine(const Check& check, Examination& at) {
  try {
    check.run(at);
  } catch (const Error& error) {
    if (ServerLost(error)) throw;
    at.Warn(check.name, "could not be checked: " + error.Text(), AdviceFor(at, error));
  }
}

}  // namespace

Verdict HealthReport::Worst() const {
  Verdict worst = Verdict::Ok;
  for (const Finding& finding : findings) worst = std::max(worst, finding.verdict);
  return worst;
}

HealthReport CheckHealth(Dbms& dbms, const HealthOptions& options) {
  HealthReport report;
  try {
    Link link(dbms, "check the store");
    report.findings.push_back({"connection", Verdict::Ok, "the server answers", {}});
    Examination at{link, dbms, options, report};
    at.timescale =
        link.Run("select exists (select from pg_extension where extname = 'timescaledb')").Bool(0, 0);
    for (const Check& check : kChecks) Examine(check, at);
    if (at.timescale)
      for (const Check& check : kTimescaleChecks) Examine(check, at);
  } catch (const Error& error) {
    report.findings.push_back({"connection", Verdict::Failed, error.Text(), kCannotConnect});
  }
  return report;
}

}  // namespace historian
