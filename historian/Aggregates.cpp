#include "historian/Aggregates.h"

#include <algorithm>

namespace historian {
namespace {

constexpr char kHasExtension[] = "select exists (select from pg_extension where extname = 'timescaledb')";

constexpr char kMaterializations[] =
    "select format('%I.%I', materialization_hypertable_schema, materialization_hypertable_name)"
    " from timescaledb_information.continuous_aggregates"
    " where hypertable_name = 'datalog' and view_name in ('datalog_1m', 'datalog_1h') order by view_name";

// Samples older than this may have been dropped: the time of the oldest one left, or the limit of the
// retention policy. Null when there is neither, infinity when only aggregates are left.
constexpr char kSamplesComplete[] =
    "select greatest(coalesce((select time from datalog order by time limit 1), 'infinity'),"
    " (select now() - (config->>'drop_after')::interval from timescaledb_information.jobs"
    " where proc_name = 'policy_retention' and hypertable_name = 'datalog' limit 1))";

// The end of an aggregate's last bucket before that time.
std::string LastBucketBefore(std::string_view aggregate, std::string_view width) {
  std::string text = "select ceil(extract(epoch from max(bucket) + interval '";
  text.append(width).append("' - timestamptz '2000-01-01 00:00:00+00') / 3600)::bigint from ");
  text.append(aggregate).append(" where bucket <= $1::timestamptz - interval '").append(width).append("'");
  return text;
}

std::string Instant(std::int64_t hour) {
  return "timestamptz '2000-01-01 00:00:00+00' + " + std::to_string(hour) + " * interval '1 hour'";
}

void Refresh(Link& link, const char* view, std::int64_t fromHour, std::int64_t toHour) {
  link.Run("call refresh_continuous_aggregate('" + std::string(view) + "', " + Instant(fromHour) + ", " +
           Instant(toHour) + ")");
}

}  // namespace

bool HasAggregates(Link& link) {
  return link.Run(kHasExtension).Bool(0, 0) && link.Run(kMaterializations).size() == 2;
}

std::optional<std::int64_t> SafeRefreshStart(Link& link) {
  const std::string complete(link.Run(kSamplesComplete).Text(0, 0));
  const Result aggregates = link.Run(kMaterializations);
  std::optional<std::int64_t> start;
  for (int i = 0; i < aggregates.size(); ++i) {
    const char* width = i == 0 ? "1 hour" : "1 minute";  // of datalog_1h and datalog_1m
    const Result last = link.Run(LastBucketBefore(aggregates.Text(i, 0), width), {complete});
    if (!last.IsNull(0, 0)) start = std::max(start.value_or(last.Integer(0, 0)), last.Integer(0, 0));
  }
  return start;
}

void RefreshAggregates(Link& link, std::int64_t fromHour, std::int64_t toHour) {
  if (fromHour >= toHour) return;
  Refresh(link, "datalog_1m", fromHour, toHour);
  Refresh(link, "datalog_1h", fromHour, toHour);
}

void CompressAgain(Link& link, const std::string& chunk) {
  link.Run("select compress_chunk($1::regclass)", {chunk});
}

}  // namespace historian
