// The server and the session: releases, role, replication, settings, time zone, disk.

#include <cstdlib>
#include <ctime>
#include <filesystem>

#include "historian/health/Examination.h"
#include "historian/health/Judgement.h"
#include "port/LocalTime.h"

namespace historian {
namespace {

constexpr char kServerVersion[] =
    "select current_setting('server_version_num'), current_setting('server_version')";

constexpr char kExtension[] =
    "select e.extversion, a.default_version from pg_available_extensions a "
    "left join pg_extension e on e.extname = a.name where a.name = 'timescaledb'";

// Replication slots that nobody reads, with the bytes of the log that they keep.
constexpr char kIdleSlots[] =
    "select slot_name, format('select pg_drop_replication_slot(%L)', slot_name), "
    "pg_size_pretty(pg_wal_lsn_diff(pg_current_wal_lsn(), restart_lsn)) "
    "from pg_replication_slots where not active and restart_lsn is not null order by 1";

constexpr char kStandbys[] = "select count(*) from pg_stat_replication";

// $1 a setting, $2 the value that it should have. Returns its value, and the statement that changes it where
// it was set.
constexpr char kSetting[] =
    "select setting, source, case "
    "when context <> 'user' then format('alter system set %I = %L; select pg_reload_conf()', name, $2::text) "
    "when source in ('client', 'session') then format('set %I = %L', name, $2::text) "
    "when source = 'user' then format('alter role %I set %I = %L', current_user, name, $2::text) "
    "when source = 'database user' then "
    "format('alter role %I in database %I set %I = %L', current_user, current_database(), name, $2::text) "
    "else format('alter database %I set %I = %L', current_database(), name, $2::text) end "
    "from pg_settings where name = $1";

struct Rule {
  const char* setting;
  const char* wanted;
  bool (*good)(std::string_view value);
  Verdict otherwise;
  const char* because;
};

bool IsOn(std::string_view value) { return value == "on"; }

constexpr Rule kRules[] = {
    {"fsync", "on", IsOn, Verdict::Failed, "a crash of the machine can destroy the database"},
    {"full_page_writes", "on", IsOn, Verdict::Failed, "a crash of the machine can destroy pages"},
    {"synchronous_commit", "on", [](std::string_view value) { return value != "off"; }, Verdict::Warning,
     "a crash of the machine loses the commits of the last moments"},
    {"IntervalStyle", "postgres", [](std::string_view value) { return value == "postgres"; },
     Verdict::Warning,
     "create operations do not recognise their retention policies and replace them at every call"},
};

bool Compressed(Link& link) {
  return link.Run("select exists (select from timescaledb_information.chunks where is_compressed)")
      .Bool(0, 0);
}

// Whether the time zones of the session and of this process have different offsets at some time of the year.
bool ZonesDiffer(Link& link) {
  const std::int64_t now = std::time(nullptr);
  for (int quarter = 0; quarter < 4; ++quarter) {
    const std::int64_t instant = now + quarter * 91 * 86'400;
    const Result offset =
        link.Run("select extract(timezone from to_timestamp($1))", {std::to_string(instant)});
    if (offset.Integer(0, 0) != sys::LocalOffset(instant)) return true;
  }
  return false;
}

std::string ZoneOfProcess() {
  const char* name = std::getenv("TZ");
  if (name && *name) return name;
  return sys::LocalOffset(std::time(nullptr)) == 0 ? "UTC" : "TIME ZONE OF THIS MACHINE";
}

}  // namespace

void CheckServerVersion(Examination& at) {
  const Result version = at.link.Run(kServerVersion);
  at.report.findings.push_back(
      JudgeServerVersion(static_cast<int>(version.Integer(0, 0)), std::string(version.Text(0, 1))));
}

void CheckExtension(Examination& at) {
  const Result extension = at.link.Run(kExtension);
  if (extension.empty()) {
    at.Ok("extension", "this server does not offer TimescaleDB: tables are plain");
  } else if (!at.timescale) {
    at.Warn("extension", "TimescaleDB is offered by this server, but not installed in this database",
            "create extension timescaledb");
  } else {
    at.report.findings.push_back(JudgeExtension(std::string(extension.Text(0, 0))));
  }
}

void CheckRole(Examination& at) {
  const Result role = at.link.Run("select pg_is_in_recovery()");
  if (role.Bool(0, 0)) {
    at.Fail("role", "a standby: nothing can be stored here",
            "connect to the primary, or: select pg_promote()");
    return;
  }
  const Result setting = at.link.Run(kSetting, {"default_transaction_read_only", "off"});
  // A setting that the program made for its own session says nothing about the store.
  const bool own = setting.Text(0, 1) == "session" || setting.Text(0, 1) == "client";
  if (setting.Text(0, 0) == "off" || own) {
    at.Ok("role", "primary");
  } else {
    at.Fail("role", "primary, but sessions are read-only by default", std::string(setting.Text(0, 2)));
  }
}

void CheckReplication(Examination& at) {
  if (at.link.Run("select pg_is_in_recovery()").Bool(0, 0)) return;
  const Result slots = at.link.Run(kIdleSlots);
  for (int row = 0; row < slots.size(); ++row) {
    at.Warn("replication",
            "nobody reads from slot " + std::string(slots.Text(row, 0)) + ", for which the server keeps " +
                std::string(slots.Text(row, 2)) + " of its log",
            std::string(slots.Text(row, 1)));
  }
  if (slots.empty())
    at.Ok("replication",
          std::string(at.link.Run(kStandbys).Text(0, 0)) + " standbys connected, no idle slot");
}

void CheckSettings(Examination& at) {
  for (const Rule& rule : kRules) {
    const Result setting = at.link.Run(kSetting, {rule.setting, rule.wanted});
    std::string found(setting.Text(0, 0));
    if (rule.good(found)) {
      at.Ok(rule.setting, std::move(found));
    } else {
      at.report.findings.push_back(
          {rule.setting, rule.otherwise, found + ": " + rule.because, std::string(setting.Text(0, 2))});
    }
  }
  const Result jit = at.link.Run(kSetting, {"jit", "off"});
  if (jit.Text(0, 0) == "on" && at.timescale && Compressed(at.link)) {
    at.Warn("jit",
            "on, with compressed chunks: compiling a query over many chunks takes longer than the query",
            std::string(jit.Text(0, 2)));
  } else {
    at.Ok("jit", std::string(jit.Text(0, 0)));
  }
}

void CheckTimeZone(Examination& at) {
  const std::string zone = ZoneOfProcess();
  const Result setting = at.link.Run(kSetting, {"TimeZone", zone});
  const std::string found(setting.Text(0, 0));
  if (!ZonesDiffer(at.link)) return at.Ok("time zone", found);
  at.Warn("time zone",
          found + " in the session, " + zone + " in this process: report and account times are shifted",
          std::string(setting.Text(0, 2)));
}

void CheckDisk(Examination& at) {
  const Result size = at.link.Run("select pg_size_pretty(pg_database_size(current_database()))");
  const std::string database = "the database takes " + std::string(size.Text(0, 0));
  const Result place = at.link.Run(
      "select coalesce(inet_server_addr() = inet_client_addr(), true), current_setting('data_directory', true)");
  std::error_code error;
  const auto space = std::filesystem::space(std::string(place.Text(0, 1)), error);
  if (!place.Bool(0, 0) || error) {
    // PostgreSQL does not report the free space of its disk.
    return at.Ok("disk", database + "; how much is free can be seen on the server's own machine only");
  }
  Finding finding = JudgeDisk(space.capacity, space.available, at.timescale);
  finding.found = database + ", " + finding.found;
  at.report.findings.push_back(std::move(finding));
}

}  // namespace historian
