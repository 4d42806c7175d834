// historian init: creates the tables of the store, or brings them up to date.
#include <array>
#include <cmath>
#include <nlohmann/json.hpp>

#include "Failure.h"
#include "Retention.h"
#include "Subcommand.h"
#include "Text.h"

namespace historian::command {
namespace {

struct InitOptions {
  CommonOptions common;
  std::optional<int> retention;
  bool allow_drop = false;
  bool tag_index = false;
};

constexpr wchar_t kHasDatalog[] = L"select to_regclass('public.datalog')";
// Tables of an older layout, which their create operations drop with all rows.
constexpr wchar_t kOutdated[] =
    L"select 'userinfo_table' from information_schema.columns where table_name = 'userinfo_table' "
    L"having count(*) > 17 "
    L"union all "
    L"select table_name from information_schema.tables t where table_schema = 'public' and table_name = 'signinfo_table' "
    L"and not exists (select from information_schema.columns c where c.table_name = t.table_name and "
    L"column_name = 'user_id')";
constexpr wchar_t kTagIndex[] =
    L"create index if not exists datalog_tag_name_time on datalog (tag_name, time)";

struct StoreTable {
  const char* names;
  bool (*create)(Dbms& dbms, int days);
  bool kept_for_good;
};

// The system log comes first: it detects TimescaleDB for the others.
constexpr std::array<StoreTable, 13> kStoreTables = {{
    {"system_log", [](Dbms& dbms, int days) { return dbms.CreateSystemLogTable(days); }, false},
    {"datalog", [](Dbms& dbms, int days) { return dbms.CreateLogTable(days); }, false},
    {"alarm", [](Dbms& dbms, int days) { return dbms.CreateAlarmTable(days); }, false},
    {"report_data_*", [](Dbms& dbms, int days) { return dbms.CreateReportDataTables(days); }, false},
    {"pr_timelist", [](Dbms& dbms, int) { return dbms.CreatePageTimeListTable(); }, true},
    {"pr_timestamp", [](Dbms& dbms, int) { return dbms.CreatePageTimestampTable(); }, true},
    {"event_report_data", [](Dbms& dbms, int) { return dbms.CreateEventReportTable(); }, true},
    {"audit_table", [](Dbms& dbms, int) { return dbms.CreateAuditTable(); }, true},
    {"userinfo_table, locked_user_list", [](Dbms& dbms, int) { return dbms.CreateUserTables(); }, true},
    {"signinfo_table", [](Dbms& dbms, int) { return dbms.CreateSignatureTable(); }, true},
    {"network_table", [](Dbms& dbms, int) { return dbms.CreateNetworkTable(); }, true},
    {"comment, recipe_group, recipe",
     [](Dbms& dbms, int) {
       return dbms.CreateCommentTable() && dbms.CreateRecipeGroupTable() && dbms.CreateRecipeTable();
     },
     true},
    {"iec_goose", [](Dbms& dbms, int) { return dbms.CreateGooseTable(); }, true},
}};

void RefuseOutdatedTables(Server& server) {
  const std::string outdated = server.Value(kOutdated);
  if (outdated.empty()) return;
  throw Refusal("the table " + outdated +
                " has an older layout, and creating it again would drop its rows; " +
                "rename it first: alter table " + outdated + " rename to " + outdated + "_old");
}

// The retention to set: the requested one, else the current one. Never drops samples without being asked to.
int DaysToKeep(Server& server, const InitOptions& options) {
  const bool exists = !server.Value(kHasDatalog).empty();
  const auto in_force = exists ? RetentionDays(server) : std::nullopt;
  if (!options.retention) return in_force ? static_cast<int>(std::lround(*in_force)) : 0;
  const int days = *options.retention;
  if (days == 0 || !exists || options.allow_drop || !server.HasTimescale()) return days;
  const auto oldest = OldestSample(server);
  const Time limit =
      std::chrono::time_point_cast<std::chrono::milliseconds>(std::chrono::system_clock::now()) -
      std::chrono::hours(24) * days;
  if (!oldest || *oldest >= limit) return days;
  throw Refusal("samples go back to " + FormatUtc(*oldest) + ", and a retention of " +
                Count(static_cast<std::uint64_t>(days), "day") +
                " drops those older; --allow-drop if that is meant");
}

int Run(const InitOptions& options, Terminal& terminal) {
  Server server(options.common.server);
  RefuseOutdatedTables(server);
  const int days = DaysToKeep(server, options);
  const bool timescale = server.HasTimescale();
  for (const StoreTable& table : kStoreTables) {
    ThrowIfInterrupted();
    server.Require(table.create(server.dbms(), days), std::string("create ") + table.names);
  }
  if (options.tag_index) server.Query(kTagIndex, [](SACommand&) {});

  const bool retained = days > 0 && timescale;
  if (options.common.json) {
    terminal.Line(nlohmann::json{{"database", server.Name()},
                                 {"timescaledb", timescale},
                                 {"retention_days", retained ? nlohmann::json(days) : nlohmann::json()},
                                 {"tag_index", options.tag_index}}
                      .dump());
    return kDone;
  }
  terminal.Fact("database",
                server.Name() + (timescale ? ", TimescaleDB"
                                           : ", plain PostgreSQL: no aggregates, compression or retention"));
  std::string names, kept;
  for (const StoreTable& table : kStoreTables) {
    std::string& list = table.kept_for_good ? kept : names;
    list += (list.empty() ? "" : ", ") + std::string(table.names);
  }
  terminal.Fact("history", names + (retained ? "; kept for " + Count(static_cast<std::uint64_t>(days), "day")
                                             : std::string("; kept for good")));
  terminal.Fact("other", kept);
  if (options.tag_index) terminal.Fact("index", "datalog_tag_name_time on datalog (tag_name, time)");
  return kDone;
}

}  // namespace

Subcommand AddInit(CLI::App& program) {
  auto options = std::make_shared<InitOptions>();
  CommandLine command(program, "init", "Create the tables, or bring them up to date");
  command
      .Add(
          "--retention DAYS", options->retention,
          "Days that the server keeps samples, alarms and system log; 0 keeps them for ever. Without it a new "
          "store keeps them for ever, an old one as long as before. Needs TimescaleDB.")
      .Between(0, 36500);
  command.Add("--allow-drop", options->allow_drop,
              "Set a retention even if it drops samples that are stored");
  command.Add(
      "--tag-index", options->tag_index,
      "Add an index by tag and time, for samples that are not compressed: an hour of one tag was read in 8 ms in "
      "place of 32 on plain PostgreSQL, and inserts took 1.67 times as long, 1.5 times with TimescaleDB");
  AddCommonOptions(command, options->common, false);
  command.SetExamples(
      "  historian init --database plant\n"
      "  historian init --retention 365\n"
      "  historian init --host db1 --user scada --database plant --json");
  return {command.app(), [options](Terminal& terminal) { return Run(*options, terminal); }};
}

}  // namespace historian::command
