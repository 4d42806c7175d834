// Checks what only TimescaleDB has: jobs, chunks, compression, continuous aggregates.

#include <chrono>

#include "historian/Coverage.h"
#include "historian/health/Examination.h"
#include "historian/health/Judgement.h"

namespace historian {
namespace {

// Jobs that belong to a table; the extension's own jobs do not.
constexpr char kJobs[] =
    "select j.job_id, j.proc_name || ' of ' || j.hypertable_name, j.scheduled, "
    "coalesce(s.last_run_status = 'Failed', false), "
    "(select e.err_message from timescaledb_information.job_errors e where e.job_id = j.job_id "
    "order by e.finish_time desc limit 1), "
    "case when isfinite(j.next_start) then extract(epoch from now() - j.next_start) end, "
    "j.proc_name = 'policy_refresh_continuous_aggregate', extract(epoch from j.retry_period) "
    "from timescaledb_information.jobs j left join timescaledb_information.job_stats s using (job_id) "
    "where j.hypertable_name is not null order by 1";

constexpr char kWorkers[] =
    "select exists (select from pg_stat_activity where backend_type = 'TimescaleDB Background Worker Launcher'), "
    "exists (select from pg_stat_activity where backend_type = 'TimescaleDB Background Worker Scheduler' "
    "and datname = current_database())";

// A chunk is compressed a day after its end, by a job that runs every twelve hours.
constexpr char kUncompressed[] =
    "select hypertable_name, count(*), format('select compress_chunk(chunk, true) from show_chunks(%L, "
    "older_than => interval ''2 days'') chunk', hypertable_name) "
    "from timescaledb_information.chunks c "
    "join timescaledb_information.hypertables h using (hypertable_schema, hypertable_name) "
    "where h.hypertable_schema = 'public' and h.compression_enabled and not c.is_compressed "
    "and c.range_end < now() - interval '2 days' group by 1 order by 1";

// Size of each hypertable, and the compression ratio of its compressed chunks.
constexpr char kSizes[] =
    "select h.hypertable_name, pg_size_pretty(hypertable_size(format('%I.%I', h.hypertable_schema, "
    "h.hypertable_name)::regclass)), "
    "round(s.before_compression_total_bytes::numeric / nullif(s.after_compression_total_bytes, 0), 1) "
    "from timescaledb_information.hypertables h cross join lateral "
    "hypertable_compression_stats(format('%I.%I', h.hypertable_schema, h.hypertable_name)::regclass) s "
    "where h.hypertable_schema = 'public' and h.compression_enabled and h.num_chunks > 0 order by 1";

// A chunk and each of its indexes need a lock; a compressed chunk also needs one for its compressed rows and
// one for their index.
constexpr char kLocks[] =
    "select count(*) + coalesce(sum((select count(*) from pg_index i "
    "where i.indrelid = format('%I.%I', chunk_schema, chunk_name)::regclass)), 0)::bigint "
    "+ 2 * count(*) filter (where is_compressed), "
    "current_setting('max_locks_per_transaction')::bigint * (current_setting('max_connections')::bigint "
    "+ current_setting('max_prepared_transactions')::bigint), current_setting('max_locks_per_transaction') "
    "from timescaledb_information.chunks where hypertable_schema = 'public' and hypertable_name = 'datalog'";

// $1 and $2: milliseconds.
constexpr char kAnySample[] =
    "select exists (select from datalog where time >= to_timestamp($1::bigint / 1000.0) "
    "and time < to_timestamp($2::bigint / 1000.0))";
constexpr char kRefresh[] =
    "select format('%s to %s', to_timestamp($2::bigint / 1000.0), to_timestamp($3::bigint / 1000.0)), "
    "format('call refresh_continuous_aggregate(%L, %L, %L)', $1::text, to_timestamp($2::bigint / 1000.0), "
    "to_timestamp($3::bigint / 1000.0))";

// More gaps than this are reported as fewer, longer ones.
constexpr std::size_t kMostGaps = 5;

// Looks for samples that an aggregate lacks and that its policy, which looks back by policyWindow, will not
// add any more.
void CheckAggregate(Examination& at, const std::string& view, const Coverage& coverage, Store store,
                    std::chrono::milliseconds policyWindow) {
  const AggregateCoverage& aggregate = store == Store::Minutes ? coverage.minutes : coverage.hours;
  const auto now = std::chrono::floor<std::chrono::milliseconds>(std::chrono::system_clock::now());
  const std::int64_t end = Floor((now - policyWindow).time_since_epoch().count(), Unit(store));
  const Ranges past({{Ranges::All().begin()->begin, end}});
  std::string gaps, advice;
  for (const Range& gap :
       aggregate.stale.And(coverage.samples).And(past).Outward(Unit(store)).Merged(kMostGaps)) {
    const std::string from = std::to_string(gap.begin), to = std::to_string(gap.end);
    if (!at.link.Run(kAnySample, {from, to}).Bool(0, 0)) continue;
    const Result texts = at.link.Run(kRefresh, {view, from, to});
    gaps += (gaps.empty() ? "" : ", ") + std::string(texts.Text(0, 0));
    advice += (advice.empty() ? "" : "; ") + std::string(texts.Text(0, 1));
  }
  const std::string check = "refresh " + view;
  gaps.empty() ? at.Ok(check, "holds all samples older than its refresh window")
               : at.Warn(check, "misses samples from " + gaps, advice);
}

}  // namespace

void CheckJobs(Examination& at) {
  const Result jobs = at.link.Run(kJobs);
  int good = 0;
  for (int row = 0; row < jobs.size(); ++row) {
    Finding finding = JudgeJob({static_cast<int>(jobs.Integer(row, 0)), std::string(jobs.Text(row, 1)),
                                jobs.Bool(row, 2), jobs.Bool(row, 3), std::string(jobs.Text(row, 4)),
                                jobs.Number(row, 5), jobs.Bool(row, 6), jobs.Number(row, 7)});
    if (finding.verdict == Verdict::Ok) {
      ++good;
    } else {
      at.report.findings.push_back(std::move(finding));
    }
  }
  at.Ok("jobs", std::to_string(good) + " of " + std::to_string(jobs.size()) + " jobs are as they should be");
}

void CheckScheduler(Examination& at) {
  const Result workers = at.link.Run(kWorkers);
  if (workers.Bool(0, 1)) return at.Ok("scheduler", "runs");
  if (workers.Bool(0, 0)) {
    at.Warn("scheduler", "no background worker runs jobs in this database",
            "select _timescaledb_functions.start_background_workers()");
  } else {
    at.Warn("scheduler", "TimescaleDB was not loaded when the server started: no job runs",
            "shared_preload_libraries = 'timescaledb' in postgresql.conf, then restart the server");
  }
}

void CheckUncompressedChunks(Examination& at) {
  const Result tables = at.link.Run(kUncompressed);
  for (int row = 0; row < tables.size(); ++row) {
    at.Warn("compression " + std::string(tables.Text(row, 0)),
            std::string(tables.Text(row, 1)) + " chunks are not compressed though due",
            std::string(tables.Text(row, 2)));
  }
  if (tables.empty()) at.Ok("compression", "every chunk that is due is compressed");
}

void CheckCompression(Examination& at) {
  const Result sizes = at.link.Run(kSizes);
  for (int row = 0; row < sizes.size(); ++row) {
    const std::string ratio(sizes.Text(row, 2));
    at.Ok("size " + std::string(sizes.Text(row, 0)),
          std::string(sizes.Text(row, 1)) +
              (ratio.empty() ? ", nothing compressed yet" : ", compressed " + ratio + " : 1"));
  }
}

void CheckAggregates(Examination& at) {
  const Coverage coverage = ReadCoverage(at.link);
  // The start offsets of the policies plus the time until their next run.
  if (!coverage.minutes.stale.Empty())
    CheckAggregate(at, "datalog_1m", coverage, Store::Minutes, std::chrono::minutes(10));
  if (!coverage.hours.stale.Empty())
    CheckAggregate(at, "datalog_1h", coverage, Store::Hours, std::chrono::hours(5));
}

void CheckLocks(Examination& at) {
  const Result locks = at.link.Run(kLocks);
  at.report.findings.push_back(JudgeLocks(locks.Integer(0, 0), locks.Integer(0, 1), locks.Integer(0, 2)));
}

}  // namespace historian
