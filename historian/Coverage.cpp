#include "historian/Coverage.h"

#include <iterator>
#include <string>

#include "historian/Error.h"
#include "historian/Ranges.h"

namespace historian {
namespace {

// Whether TimescaleDB is installed, and whether its release records the ranges that a refresh is working on.
constexpr char kCatalog[] =
    "select to_regclass('timescaledb_information.chunks') is not null, "
    "to_regclass('_timescaledb_catalog.continuous_aggs_materialization_ranges') is not null";

// One row for each stored or outdated range of a table or aggregate: name, whether the range is stored (else
// outdated), first and last instant in microseconds since 1970. The table always has an empty range, which
// shows that it is a hypertable. An aggregate is outdated where samples were changed since its last refresh,
// and after the last range that was ever refreshed.
constexpr char kStored[] =
    "with aggregate as ("
    "select user_view_name as name, mat_hypertable_id as id, raw_hypertable_id as source "
    "from _timescaledb_catalog.continuous_agg "
    "where user_view_schema = 'public' and user_view_name in ('datalog_1m', 'datalog_1h')), "
    "stored as ("
    "select coalesce(a.name, c.hypertable_name) as name, "
    "(extract(epoch from c.range_start) * 1000000)::bigint as low, "
    "(extract(epoch from c.range_end) * 1000000)::bigint - 1 as high "
    "from timescaledb_information.chunks c "
    "join _timescaledb_catalog.hypertable h "
    "on h.schema_name = c.hypertable_schema and h.table_name = c.hypertable_name "
    "left join aggregate a on a.id = h.id "
    "where a.id is not null or c.hypertable_schema = 'public' and c.hypertable_name = 'datalog' "
    "union all select hypertable_name, 0, -1 from timescaledb_information.hypertables "
    "where hypertable_schema = 'public' and hypertable_name = 'datalog'), "
    "outdated as ("
    "select a.name, l.lowest_modified_value as low, l.greatest_modified_value as high from aggregate a "
    "join _timescaledb_catalog.continuous_aggs_materialization_invalidation_log l "
    "on l.materialization_id = a.id "
    "union all select a.name, l.lowest_modified_value, l.greatest_modified_value from aggregate a "
    "join _timescaledb_catalog.continuous_aggs_hypertable_invalidation_log l on l.hypertable_id = a.source "
    "union all select a.name, w.watermark, 9223372036854775807 from aggregate a "
    "join _timescaledb_catalog.continuous_aggs_watermark w on w.mat_hypertable_id = a.id";
constexpr char kBegunRanges[] =
    " union all select a.name, l.lowest_modified_value, l.greatest_modified_value from aggregate a "
    "join _timescaledb_catalog.continuous_aggs_materialization_ranges l on l.materialization_id = a.id";
constexpr char kRanges[] =
    ") select name, true, low, high from stored union all select name, false, low, high from outdated";

// The times of the first sample and, plus a millisecond, of the last; NULL without any.
constexpr char kExtent[] =
    "select floor(extract(epoch from min(time)) * 1000), floor(extract(epoch from max(time)) * 1000) + 1 "
    "from datalog";

// Both ends are included in microseconds; the extremes mean that there is no end.
Range Milliseconds(std::int64_t low, std::int64_t high) {
  return {low == kEarliest ? kEarliest : Floor(low, 1000) / 1000,
          high == kLatest ? kLatest : Floor(high, 1000) / 1000 + 1};
}

struct Found {
  std::vector<Range> stored, outdated;
  bool any = false;
};

Coverage ReadCatalog(Link& link, bool begunRanges) {
  Found table, minutes, hours;
  const Result rows = link.Run(std::string(kStored) + (begunRanges ? kBegunRanges : "") + kRanges);
  for (int row = 0; row < rows.size(); ++row) {
    const std::string_view name = rows.Text(row, 0);
    Found& found = name == "datalog" ? table : name == "datalog_1m" ? minutes : hours;
    found.any = true;
    (rows.Bool(row, 1) ? found.stored : found.outdated)
        .push_back(Milliseconds(rows.Integer(row, 2), rows.Integer(row, 3)));
  }
  Coverage coverage;
  if (table.any) coverage.samples = Ranges(std::move(table.stored));
  coverage.minutes = {Ranges(std::move(minutes.stored)), Ranges(std::move(minutes.outdated))};
  coverage.hours = {Ranges(std::move(hours.stored)), Ranges(std::move(hours.outdated))};
  return coverage;
}

}  // namespace

Coverage ReadCoverage(Link& link) {
  const Result catalog = link.Run(kCatalog);
  if (!catalog.Bool(0, 0)) return {};
  try {
    return ReadCatalog(link, catalog.Bool(0, 1));
  } catch (const Error& error) {
    // Class 42: a missing privilege, or another layout of the catalog.
    if (error.SqlState().starts_with("42")) return {};
    throw;
  }
}

Range Extent(Link& link, const Coverage& coverage) {
  if (coverage.samples == Ranges::All()) {
    const Result rows = link.Run(kExtent);
    return {rows.Integer(0, 0), rows.Integer(0, 1)};
  }
  std::vector<Range> all(coverage.samples.begin(), coverage.samples.end());
  for (const AggregateCoverage* aggregate : {&coverage.minutes, &coverage.hours})
    all.insert(all.end(), aggregate->stored.begin(), aggregate->stored.end());
  const Ranges stored(std::move(all));
  return stored.Empty() ? Range() : Range{stored.begin()->begin, std::prev(stored.end())->end};
}

}  // namespace historian
