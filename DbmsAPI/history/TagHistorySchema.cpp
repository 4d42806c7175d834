#include <algorithm>
#include <limits>

#include "DbmsAPI/frame/Format.h"
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

// {}: view.
constexpr wchar_t kAggregateExists[] =
    L"SELECT 1 FROM timescaledb_information.continuous_aggregates WHERE view_name = '{}'";

// {}: view, width of a bucket.
constexpr wchar_t kCreateAggregate[] =
    L"CREATE MATERIALIZED VIEW {} WITH (timescaledb.continuous) AS"
    L" SELECT time_bucket('{}', time) AS bucket, tag_name,"
    L" avg(value) as avg_val, max(value) as max_val, min(value) as min_val"
    L" FROM datalog"
    L" GROUP BY bucket, tag_name";

// {}: view, start offset, end offset, interval of the refreshes.
constexpr wchar_t kAddRefreshPolicy[] =
    L"SELECT add_continuous_aggregate_policy('{}',"
    L" start_offset => INTERVAL '{}',"
    L" end_offset => INTERVAL '{}',"
    L" schedule_interval => INTERVAL '{}')";

// A continuous aggregate over tag history.
struct Aggregate {
  const wchar_t* view;
  const wchar_t* bucket;
  const wchar_t* startOffset;
  const wchar_t* endOffset;
  const wchar_t* refreshInterval;
  int leastRetentionDays;
};

constexpr Aggregate kAggregates[] = {
    {L"datalog_1m", L"1 minute", L"5 minutes", L"1 minute", L"2 minutes", 30},
    {L"datalog_1h", L"1 hour", L"3 hours", L"1 hour", L"1 hour", 365}};

void CreateAggregate(SACommand& command, const Aggregate& aggregate) {
  if (FetchFirst(command, Format(kAggregateExists, aggregate.view))) return;
  Execute(command, Format(kCreateAggregate, aggregate.view, aggregate.bucket));
  Execute(command, Format(kAddRefreshPolicy, aggregate.view, aggregate.startOffset, aggregate.endOffset,
                          aggregate.refreshInterval));
}

// Aggregates are kept at least twice as long as the samples, and for good when the samples are.
int RetentionDays(const Aggregate& aggregate, int sampleDays) {
  if (sampleDays < 1) return 0;
  constexpr int kMost = std::numeric_limits<int>::max();
  return std::max(sampleDays > kMost / 2 ? kMost : 2 * sampleDays, aggregate.leastRetentionDays);
}

}  // namespace

bool TirelScada::CreateLogTable(int retentionDays) {
  return Run([&](SACommand& command) {
    FetchFirst(command, kTagHistoryExists);  // Kept: the answer changes nothing.
    Execute(command, kCreateTagHistory);
    if (TimescaleVersion <= 0) return;

    const bool compressed = AdoptHypertable(command, L"datalog", retentionDays);
    for (const Aggregate& aggregate : kAggregates) {
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
