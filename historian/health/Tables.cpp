// Checks that the tables of the library exist, are set up, and can be used by the account.

#include "historian/health/Examination.h"

namespace historian {
namespace {

// A table that is a hypertable if the extension is installed.
struct TimeTable {
  const char* name;
  const char* create;     // the operation that creates it
  const char* segmentBy;  // columns by which its compression is segmented
};

constexpr std::string_view kTagHistory = "datalog";

constexpr TimeTable kTimeTables[] = {
    {"datalog", "CreateLogTable", "tag_name"},
    {"alarm", "CreateAlarmTable", "tag_name, status, type, level, zone"},
    {"system_log", "CreateSystemLogTable", "node, module, level, type, user_id, message"},
    {"audit_table", "CreateAuditTable", "ip_addr, user_id, group_name, tag_name, message"},
    {"report_data_analog_minute", "CreateReportDataTables", "tag_name"},
    {"report_data_analog_hour", "CreateReportDataTables", "tag_name"},
    {"report_data_digital_minute", "CreateReportDataTables", "tag_name"},
    {"report_data_digital_hour", "CreateReportDataTables", "tag_name"}};

// The missing tables among those that are never hypertables.
constexpr char kMissing[] =
    "select string_agg(name, ', ' order by name) from unnest(array["
    "'report_data_time', 'report_data_analog_day', 'report_data_analog_month', 'report_data_analog_year', "
    "'report_data_digital_day', 'report_data_digital_month', 'report_data_digital_year', "
    "'pr_timelist', 'pr_timestamp', 'event_report_data', 'userinfo_table', 'locked_user_list', "
    "'signinfo_table', 'network_table', 'comment', 'recipe_group', 'recipe', 'iec_goose']) name "
    "where to_regclass('public.' || name) is null";

// $1 a table or aggregate. Returns whether it is a hypertable, whether compression is set up and has a
// policy, and its retention in days. Depending on the release, an aggregate's jobs have its own name or that
// of the table with its rows.
constexpr char kState[] =
    "select h.hypertable_name is not null, coalesce(h.compression_enabled, false), "
    "exists (select from timescaledb_information.jobs j where j.proc_name = 'policy_compression' "
    "and j.hypertable_name = $1), "
    "(select extract(epoch from (j.config->>'drop_after')::interval) / 86400 "
    "from timescaledb_information.jobs j where j.proc_name = 'policy_retention' and j.hypertable_name in ($1, "
    "(select c.materialization_hypertable_name from timescaledb_information.continuous_aggregates c "
    "where c.view_name = $1 and c.view_schema = 'public')) limit 1) "
    "from (select) one left join timescaledb_information.hypertables h "
    "on h.hypertable_schema = 'public' and h.hypertable_name = $1";

constexpr char kAggregatePolicy[] =
    "select exists (select from timescaledb_information.continuous_aggregates "
    "where view_schema = 'public' and view_name = $1), "
    "exists (select from timescaledb_information.jobs "
    "where proc_name = 'policy_refresh_continuous_aggregate' and hypertable_name in ($1, "
    "(select c.materialization_hypertable_name from timescaledb_information.continuous_aggregates c "
    "where c.view_name = $1 and c.view_schema = 'public')))";

constexpr char kTableExists[] = "select to_regclass('public.' || $1) is not null";

// Kinds of access that the account lacks to tables of the library, with the statement that gives them.
constexpr char kLackingAccess[] =
    "select kind, string_agg(c.relname, ', ' order by c.relname), "
    "format('grant %s on %s to %I', kind, string_agg(format('%I', c.relname), ', ' order by c.relname), "
    "current_user) from unnest(array['select', 'insert', 'update', 'delete']) kind cross join pg_class c "
    "where c.relnamespace = to_regnamespace('public') and c.relkind in ('r', 'p') "
    "and (c.relname in ('datalog', 'alarm', 'system_log', 'audit_table', 'pr_timelist', 'pr_timestamp', "
    "'event_report_data', 'userinfo_table', 'locked_user_list', 'signinfo_table', 'network_table', 'comment', "
    "'recipe_group', 'recipe', 'iec_goose') or c.relname like 'report\\_data\\_%' or c.relname like 'user\\_%') "
    "and not has_table_privilege(c.oid, kind) group by kind order by kind";

constexpr char kLackingRights[] =
    "select 'create in schema public', format('grant create on schema public to %I', current_user) "
    "where not has_schema_privilege('public', 'create') union all "
    "select 'temporary tables', format('grant temporary on database %I to %I', current_database(), current_user) "
    "where not has_database_privilege(current_database(), 'temporary')";

std::string Join(const std::string& a, const std::string& b, const char* separator) {
  return a.empty() ? b : b.empty() ? a : a + separator + b;
}

// The statements that set the wanted retention; empty when it is set. `found` describes the retention that
// was found.
std::string RetentionAdvice(const std::string& table, const Result& state, const HealthOptions& options,
                            std::string& found) {
  const bool any = !state.IsNull(0, 3);
  const double days = state.Number(0, 3);
  found = any ? "retention " + std::to_string(static_cast<std::int64_t>(days)) + " days" : "no retention";
  const auto wanted = options.retentionDays.find(table);
  if (wanted == options.retentionDays.end() || (any ? days : 0) == wanted->second) return {};
  found += ", wanted are " + std::to_string(wanted->second) + " days";
  const std::string remove = "select remove_retention_policy('" + table + "', if_exists => true)";
  if (wanted->second < 1) return remove;
  return remove + "; select add_retention_policy('" + table + "', interval '" +
         std::to_string(wanted->second) + " days')";
}

std::string CompressionAdvice(const TimeTable& table, const Result& state) {
  const std::string name = table.name;
  std::string advice;
  if (!state.Bool(0, 1))
    advice = "alter table " + name + " set (timescaledb.compress, timescaledb.compress_orderby = 'time', " +
             "timescaledb.compress_segmentby = '" + table.segmentBy + "')";
  if (!state.Bool(0, 2))
    advice = Join(advice, "select add_compression_policy('" + name + "', interval '1 day')", "; ");
  return advice;
}

void CheckHypertable(Examination& at, const TimeTable& table) {
  const std::string name = table.name, check = "table " + name;
  const Result state = at.link.Run(kState, {name});
  if (!state.Bool(0, 0)) {
    return at.Warn(check, "a plain table: neither compressed nor dropped by age",
                   "select create_hypertable('" + name +
                       "', 'time', chunk_time_interval => interval '1 day', " + "migrate_data => true)");
  }
  std::string retention;
  const std::string advice =
      Join(CompressionAdvice(table, state), RetentionAdvice(name, state, at.options, retention), "; ");
  const std::string found = Join(state.Bool(0, 1) && state.Bool(0, 2) ? "hypertable, compressed after a day"
                                                                      : "hypertable, not compressed",
                                 retention, ", ");
  advice.empty() ? at.Ok(check, found) : at.Warn(check, found, advice);
}

void CheckAggregate(Examination& at, const std::string& name, const std::string& policy) {
  const std::string check = "table " + name;
  const Result aggregate = at.link.Run(kAggregatePolicy, {name});
  if (!aggregate.Bool(0, 0)) {
    return at.Warn(check, "missing: trends of long ranges read samples",
                   "CreateLogTable(DAYS), after CreateSystemLogTable: historian init");
  }
  std::string retention;
  std::string advice = RetentionAdvice(name, at.link.Run(kState, {name}), at.options, retention);
  if (!aggregate.Bool(0, 1))
    advice = Join("select add_continuous_aggregate_policy('" + name + "', " + policy + ")", advice, "; ");
  const std::string found =
      Join(aggregate.Bool(0, 1) ? "continuous aggregate, refreshed" : "continuous aggregate, never refreshed",
           retention, ", ");
  advice.empty() ? at.Ok(check, found) : at.Warn(check, found, advice);
}

}  // namespace

void CheckTables(Examination& at) {
  for (const TimeTable& table : kTimeTables) {
    if (!at.link.Run(kTableExists, {table.name}).Bool(0, 0)) {
      at.report.findings.push_back({std::string("table ") + table.name,
                                    table.name == kTagHistory ? Verdict::Failed : Verdict::Warning, "missing",
                                    std::string(table.create) + ": historian init"});
    } else if (at.timescale) {
      CheckHypertable(at, table);
    } else {
      at.Ok(std::string("table ") + table.name, "plain");
    }
  }
  if (at.timescale) {
    CheckAggregate(at, "datalog_1m", "interval '5 minutes', interval '1 minute', interval '2 minutes'");
    CheckAggregate(at, "datalog_1h", "interval '3 hours', interval '1 hour', interval '1 hour'");
  }
  const Result missing = at.link.Run(kMissing);
  missing.IsNull(0, 0)
      ? at.Ok("other tables", "all there")
      : at.Warn("other tables", "missing: " + std::string(missing.Text(0, 0)), "historian init");
}

void CheckPrivileges(Examination& at) {
  std::string lacking, advice;
  const Result access = at.link.Run(kLackingAccess);
  for (int row = 0; row < access.size(); ++row) {
    lacking =
        Join(lacking, std::string(access.Text(row, 0)) + " on " + std::string(access.Text(row, 1)), "; ");
    advice = Join(advice, std::string(access.Text(row, 2)), "; ");
  }
  const Result rights = at.link.Run(kLackingRights);
  for (int row = 0; row < rights.size(); ++row) {
    lacking = Join(lacking, std::string(rights.Text(row, 0)), "; ");
    advice = Join(advice, std::string(rights.Text(row, 1)), "; ");
  }
  if (lacking.empty()) return at.Ok("privileges", "the account may do all that the library does");
  lacking = "the account lacks " + lacking;
  access.empty() ? at.Warn("privileges", lacking, advice) : at.Fail("privileges", lacking, advice);
}

}  // namespace historian
