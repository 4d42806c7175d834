#include "historian/recorder/Ledger.h"

namespace historian::recorder {
namespace {

// Looks for the table first, because an account that may not create tables can use one that another account
// created.
constexpr char kFind[] = "select to_regclass('historian_ledger') is not null";
constexpr char kCreate[] =
    "create table if not exists historian_ledger (spool text primary key, batch bigint not null,"
    " stored bigint not null, at timestamptz not null)";
// $1 spool.
constexpr char kRead[] = "select batch, stored from historian_ledger where spool = $1";

}  // namespace

void Ledger::Create(Link& link) {
  if (!link.Run(kFind).Bool(0, 0)) link.Run(kCreate);
}

std::optional<Ledger::Entry> Ledger::Read(Link& link) const {
  const Result rows = link.Run(kRead, {spool_});
  if (rows.empty()) return std::nullopt;
  return Entry{rows.Integer(0, 0), rows.Integer(0, 1)};
}

// Checking samples against a compressed chunk may decompress more than TimescaleDB allows by default; without
// TimescaleDB the setting has no effect. Several statements in one message cannot have parameters; the number
// and the hexadecimal digits need no quoting.
bool Ledger::Begin(Link& link, std::int64_t batch) const {
  const Result claimed = link.Run(
      "begin; set local timescaledb.max_tuples_decompressed_per_dml_transaction to 0; insert into historian_ledger as ledger (spool, batch, stored, at) values ('" +
      spool_ + "', " + std::to_string(batch) +
      ", 0, now()) on conflict (spool) do update set batch = excluded.batch, stored = 0,"
      " at = excluded.at where ledger.batch < excluded.batch");
  return claimed.Affected() == 1;
}

void Ledger::Commit(Link& link, std::int64_t stored) const {
  link.Run("update historian_ledger set stored = " + std::to_string(stored) + " where spool = '" + spool_ +
           "'; commit");
}

}  // namespace historian::recorder
