#include "historian/BackfillLedger.h"

namespace historian {
namespace {

constexpr char kLedgerExists[] = "select to_regclass('historian_backfill') is not null";

// Another program may create the table at the same time.
constexpr char kCreateLedger[] =
    "begin;"
    "select pg_advisory_xact_lock(hashtext('historian_backfill'));"
    "create table if not exists historian_backfill ("
    "source text not null,"
    "begins bigint not null,"
    "ends bigint not null,"
    "samples bigint not null,"
    "stored bigint not null,"
    "duplicates bigint not null,"
    "left_out bigint not null,"
    "oldest timestamptz,"
    "newest timestamptz,"
    "refresh_from bigint,"
    "finished boolean not null default false,"
    "loaded_at timestamptz not null default now(),"
    "primary key (source, begins));"
    "commit";

// $1 source.
constexpr char kBatches[] = "select begins, ends from historian_backfill where source = $1";
constexpr char kRefreshFrom[] =
    "select max(refresh_from) from historian_backfill where source = $1 and not finished";
constexpr char kWaiting[] = "select count(*) from historian_backfill where source = $1 and not finished";
constexpr char kFinish[] = "update historian_backfill set finished = true where source = $1 and not finished";

// $1 source, $2 begins, $3 ends, $4 samples, $5 stored, $6 duplicates, $7 left out, $8 oldest and $9 newest
// in microseconds, $10 refresh from.
constexpr char kEnter[] =
    "insert into historian_backfill"
    " (source, begins, ends, samples, stored, duplicates, left_out, oldest, newest, refresh_from)"
    " values ($1, $2, $3, $4, $5, $6, $7,"
    " timestamptz '2000-01-01 00:00:00+00' + $8::float8 * interval '1 microsecond',"
    " timestamptz '2000-01-01 00:00:00+00' + $9::float8 * interval '1 microsecond', $10)"
    " on conflict do nothing";

Link::Value Text(std::optional<std::int64_t> number) {
  return number ? Link::Value(std::to_string(*number)) : std::nullopt;
}

}  // namespace

void BackfillLedger::Create(Link& link) {
  if (!link.Run(kLedgerExists).Bool(0, 0)) link.Run(kCreateLedger);
}

std::map<std::int64_t, std::int64_t> BackfillLedger::Batches(Link& link) const {
  std::map<std::int64_t, std::int64_t> batches;
  const Result rows = link.Run(kBatches, {source_});
  for (int row = 0; row < rows.size(); ++row) batches[rows.Integer(row, 0)] = rows.Integer(row, 1);
  return batches;
}

bool BackfillLedger::Enter(Link& link, const LedgerEntry& entry) const {
  return link.Run(kEnter, {source_, Text(entry.begins), Text(entry.ends), Text(entry.samples),
                           Text(entry.stored), Text(entry.duplicates), Text(entry.leftOut),
                           Text(entry.oldest), Text(entry.newest), Text(refreshFrom_)})
             .Affected() == 1;
}

std::optional<std::int64_t> BackfillLedger::RefreshFrom(Link& link) const {
  const Result rows = link.Run(kRefreshFrom, {source_});
  if (rows.IsNull(0, 0)) return std::nullopt;
  return rows.Integer(0, 0);
}

bool BackfillLedger::IsFinished(Link& link) const { return link.Run(kWaiting, {source_}).Integer(0, 0) == 0; }

void BackfillLedger::Finish(Link& link) const { link.Run(kFinish, {source_}); }

}  // namespace historian
