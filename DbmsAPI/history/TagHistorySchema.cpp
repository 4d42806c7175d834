#include <algorithm>
#include <limits>

#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"

namespace {

constexpr wchar_t kTagHistoryExists[] =
    L"SELECT EXISTS ("
    L"  SELECT 1"
    L"   FROM information_schema.tables"
    L"   WHERE table_schema = 'public'"
    L"   AND table_name = 'datalog')";

constexpr wchar_t kCreateTagHistory[] =
    L"create table if not exists datalog ("
    L"time timestamptz not null,"
    L"tag_name text not null,"
    L"value float8,"
    L"primary key (time,tag_name))";

constexpr wchar_t kOldestSample[] = L"select extract(epoch from time) from datalog order by time limit 1";

// A continuous aggregate over tag history.
struct Aggregate {
  const wchar_t* view;
  const wchar_t* exists;
  const wchar_t* create;
  const wchar_t* addRefreshPolicy;
  int leastRetentionDays;
};

constexpr Aggregate kMinutes = {
    L"datalog_1m",
    L"SELECT 1 FROM timescaledb_information.continuous_aggregates WHERE view_name = 'datalog_1m'",
    L"CREATE MATERIALIZED VIEW datalog_1m WITH (timescaledb.continuous) AS"
    L" SELECT time_bucket('1 minute', time) AS bucket, tag_name,"
    L" avg(value) as avg_val, max(value) as max_val, min(value) as min_val"
    L" FROM datalog"
    L" GROUP BY bucket, tag_name",
    L"SELECT add_continuous_aggregate_policy('datalog_1m',"
    L" start_offset => INTERVAL '5 minutes',"
    L" end_offset => INTERVAL '1 minute',"
    L" schedule_interval => INTERVAL '2 minutes')",
    30};

constexpr Aggregate kHours = {
    L"datalog_1h",
    L"SELECT 1 FROM timescaledb_information.continuous_aggregates WHERE view_name = 'datalog_1h'",
    L"CREATE MATERIALIZED VIEW datalog_1h WITH (timescaledb.continuous) AS"
    L" SELECT time_bucket('1 hour', time) AS bucket, tag_name,"
    L" avg(value) as avg_val, max(value) as max_val, min(value) as min_val"
    L" FROM datalog"
    L" GROUP BY bucket, tag_name",
    L"SELECT add_continuous_aggregate_policy('datalog_1h',"
    L" start_offset => INTERVAL '3 hours',"
    L" end_offset => INTERVAL '1 hour',"
    L" schedule_interval => INTERVAL '1 hour')",
    365};

void CreateAggregate(SACommand& command, const Aggregate& aggregate) {
  if (FetchFirst(command, aggregate.exists)) return;
  Execute(command, aggregate.create);
  Execute(command, aggregate.addRefreshPolicy);
}

// Aggregates are kept at least twice as long as the samples, and for good when the samples are.
int RetentionDays(const Aggregate& aggregate, int sampleDays) {
  if (sampleDays < 1) return 0;
  const int doubled =
      sampleDays > std::numeric_limits<int>::max() / 2 ? std::numeric_limits<int>::max() : 2 * sampleDays;
  return std::max(doubled, aggregate.leastRetentionDays);
}

}  // namespace

bool TirelScada::CreateLogTable(int retentionDays) {
  return Run([&](SACommand& command) {
    FetchFirst(command, kTagHistoryExists);  // Kept: the answer changes nothing.
    Execute(command, kCreateTagHistory);
    if (TimescaleVersion <= 0) return;

    const bool compressed = AdoptHypertable(command, L"datalog", retentionDays);
    for (const Aggregate& aggregate : {kMinutes, kHours}) {
      CreateAggregate(command, aggregate);
      SetRetentionPolicy(aggregate.view, RetentionDays(aggregate, retentionDays));
    }
    if (!compressed) SetCompression(command, L"datalog", L"tag_name");
    AddCompressionPolicy(command, L"datalog");
  });
}

bool TirelScada::GetOldestLogTime(std::int64_t& oldest) {
  return Run([&](SACommand& command) {
    if (FetchFirst(command, kOldestSample)) oldest = command.Field(1).asInt64();
  });
}
