#include "historian/recorder/LateSamples.h"

#include <algorithm>

#include "historian/Aggregates.h"

namespace historian::recorder {
namespace {

constexpr std::int64_t kMinuteMs = 60000;
constexpr std::int64_t kHourMs = 60 * kMinuteMs;
// The policy of datalog_1m runs every 2 minutes and looks back 5; a bucket is one minute.
constexpr std::int64_t kLateAfterMs = 2 * kMinuteMs;
constexpr std::int64_t kSliceMs = 6 * kHourMs;  // refreshed in one step, so that new samples do not wait long
constexpr std::int64_t kYear2000Ms = 946684800000;

constexpr char kIntactSince[] =
    "select coalesce(max(extract(epoch from now() - (config->>'drop_after')::interval) * 1000), 0)::bigint"
    " from timescaledb_information.jobs where proc_name = 'policy_retention' and hypertable_name = 'datalog'";
// $1, $2 epoch milliseconds.
constexpr char kFirstSample[] =
    "select floor(extract(epoch from time) * 1000)::bigint from datalog where time >= to_timestamp($1::float8 / 1000)"
    " and time <= to_timestamp($2::float8 / 1000) order by time limit 1";

std::int64_t Down(std::int64_t ms) { return ms / kHourMs * kHourMs; }
std::int64_t Up(std::int64_t ms) { return Down(ms + kHourMs - 1); }

// Hours as RefreshAggregates counts them.
std::int64_t Hours(std::int64_t ms) { return (ms - kYear2000Ms) / kHourMs; }

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
  const TimeRange window = {std::max({Down(late.from), Up(bounds.safeStartMs), Up(bounds.intactMs)}),
                            Up(late.to + 1)};
  if (window.from >= window.to) return std::nullopt;
  return window;
}

std::optional<std::int64_t> SafeStart(Link& link) {
  if (!HasAggregates(link)) return std::nullopt;
  const std::optional<std::int64_t> hour = SafeRefreshStart(link);
  return hour ? kYear2000Ms + *hour * kHourMs : 0;
}

bool RefreshLate(Spool& spool, Link& link, std::int64_t safeStartMs) {
  const std::optional<TimeRange> late = spool.Late();
  if (!late) return false;
  const Result first = link.Run(kFirstSample, {std::to_string(late->from), std::to_string(late->to)});
  TimeRange slice = *late;
  if (!first.empty()) {
    const std::int64_t from = Down(first.Integer(0, 0));
    slice = {std::max(from, late->from), std::min(from + kSliceMs - 1, late->to)};
    const std::int64_t intact = link.Run(kIntactSince).Integer(0, 0);
    const auto window = RefreshWindow(slice, {safeStartMs, intact});
    if (window) RefreshAggregates(link, Hours(window->from), Hours(window->to));
  }
  spool.ForgetLate(*late, slice.to);
  return true;
}

}  // namespace historian::recorder
