#include "historian/recorder/LateSamples.h"

#include <algorithm>
#include <chrono>

#include "historian/Link.h"

namespace historian::recorder {
namespace {

constexpr std::int64_t kMinuteMs = 60000;
constexpr std::int64_t kHourMs = 60 * kMinuteMs;
// datalog_1m looks back 5 minutes every 2 minutes, a bucket being a minute.
constexpr std::int64_t kLateAfterMs = 2 * kMinuteMs;
constexpr std::int64_t kSliceMs = 6 * kHourMs;  // to refresh at once, so that new samples do not wait long

struct Aggregate {
  const char* view;
  std::int64_t bucketMs;
};
constexpr Aggregate kAggregates[] = {{"datalog_1m", kMinuteMs}, {"datalog_1h", kHourMs}};

constexpr char kFindExtension[] = "select count(*) from pg_extension where extname = 'timescaledb'";
// $1 view.
constexpr char kFindAggregate[] =
    "select count(*) from timescaledb_information.continuous_aggregates where view_name = $1";
constexpr char kOldestSample[] =
    "select floor(extract(epoch from time) * 1000)::bigint from datalog order by time limit 1";
constexpr char kIntactSince[] =
    "select coalesce(max(extract(epoch from now() - (config->>'drop_after')::interval) * 1000), 0)::bigint"
    " from timescaledb_information.jobs where proc_name = 'policy_retention' and hypertable_name = 'datalog'";
// $1, $2 epoch milliseconds.
constexpr char kFirstSample[] =
    "select floor(extract(epoch from time) * 1000)::bigint from datalog where time >= to_timestamp($1::float8 / 1000)"
    " and time <= to_timestamp($2::float8 / 1000) order by time limit 1";

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

std::int64_t Down(std::int64_t ms, std::int64_t bucket) { return ms / bucket * bucket; }
std::int64_t Up(std::int64_t ms, std::int64_t bucket) { return Down(ms + bucket - 1, bucket); }

std::string Instant(std::int64_t ms) { return "to_timestamp(" + std::to_string(ms / 1000) + ")"; }

void RefreshAggregates(Link& link, const TimeRange& slice) {
  const Result oldest = link.Run(kOldestSample);
  if (oldest.empty()) return;
  RefreshBounds bounds;
  bounds.oldestRawMs = oldest.Integer(0, 0);
  bounds.intactMs = link.Run(kIntactSince).Integer(0, 0);
  bounds.nowMs = NowMs();
  for (const Aggregate& aggregate : kAggregates) {
    bounds.bucketMs = aggregate.bucketMs;
    const auto window = RefreshWindow(slice, bounds);
    if (!window || link.Run(kFindAggregate, {aggregate.view}).Integer(0, 0) == 0) continue;
    link.Run("call refresh_continuous_aggregate('" + std::string(aggregate.view) + "', " +
             Instant(window->from) + ", " + Instant(window->to) + ")");
  }
}

}  // namespace

std::optional<TimeRange> LateRange(const std::vector<std::string_view>& samples) {
  const std::int64_t punctual = NowMs() - kLateAfterMs;
  std::optional<TimeRange> late;
  for (std::string_view bytes : samples) {
    const std::int64_t time = TakeSample(bytes)->timeMs;
    if (time < 1 || time >= punctual) continue;
    if (!late) late = TimeRange{time, time};
    late->from = std::min(late->from, time);
    late->to = std::max(late->to, time);
  }
  return late;
}

std::optional<TimeRange> RefreshWindow(const TimeRange& late, const RefreshBounds& bounds) {
  const std::int64_t bucket = bounds.bucketMs;
  const std::int64_t lowest = std::max(Down(bounds.oldestRawMs, bucket), Up(bounds.intactMs, bucket));
  const TimeRange window = {std::max(Down(late.from, bucket), lowest),
                            std::min(Up(late.to + 1, bucket), Down(bounds.nowMs, bucket))};
  if (window.from >= window.to) return std::nullopt;
  return window;
}

bool RefreshLate(Spool& spool, Dbms& dbms, CallLimit& limit, std::chrono::milliseconds most) {
  const std::optional<TimeRange> late = spool.Late();
  if (!late) return false;
  const CallLimit::Guard guard(limit, dbms, most);
  Link link(dbms, "refreshing aggregates");
  if (link.Run(kFindExtension).Integer(0, 0) == 0) {
    spool.ForgetLate(*late, late->to);
    return false;
  }
  const Result first = link.Run(kFirstSample, {std::to_string(late->from), std::to_string(late->to)});
  if (first.empty()) {
    spool.ForgetLate(*late, late->to);
    return true;
  }
  const std::int64_t from = Down(first.Integer(0, 0), kHourMs);
  const TimeRange slice = {std::max(from, late->from), std::min(from + kSliceMs - 1, late->to)};
  RefreshAggregates(link, slice);
  spool.ForgetLate(*late, slice.to);
  return true;
}

}  // namespace historian::recorder
