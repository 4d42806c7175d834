#include "historian/recorder/SpoolFile.h"

#include <algorithm>
#include <chrono>
#include <iterator>
#include <random>

namespace historian::recorder {
namespace {

struct Table {
  const char* name;
  const char* columns;
};

constexpr char kBlockColumns[] =
    "(id integer primary key, records integer not null, arrived integer not null, checksum integer not null,"
    " data blob not null)";

// In the order in which they are created.
constexpr Table kTables[] = {
    {"spool",
     "(id text not null, created integer not null, batch integer not null default 0,"
     " accepted integer not null default 0, stored integer not null default 0,"
     " duplicates integer not null default 0, set_aside integer not null default 0,"
     " dropped integer not null default 0, late_from integer, late_to integer)"},
    {"sample_block", kBlockColumns},
    {"alarm_block", kBlockColumns},
    {"log_block", kBlockColumns},
    {"sending",
     "(batch integer not null, kind integer not null, first integer not null, last integer not null)"},
    {"set_aside",
     "(id integer primary key, pending integer not null, kind integer not null, records integer not null,"
     " at integer not null, sqlstate text not null, reason text not null, record text not null,"
     " data blob not null)"},
};

// The definition as SQLite stores it.
std::string Definition(const Table& table) {
  return std::string("CREATE TABLE ") + table.name + ' ' + table.columns;
}

// Numbers in the file's header that identify it; see https://www.sqlite.org/fileformat2.html.
constexpr std::int64_t kApplicationId = 0x68737031;  // hsp1
constexpr std::int64_t kVersion = 1;

constexpr char kCountRecords[] =
    "select (select coalesce(sum(records), 0) from sample_block) + (select coalesce(sum(records), 0) from"
    " alarm_block) + (select coalesce(sum(records), 0) from log_block)";

// The ids of lost blocks are assigned again, and those new blocks must not belong to the batch.
constexpr char kBoundSending[] =
    "update sending set last = min(last, case kind when 0 then (select coalesce(max(id), 0) from sample_block)"
    " when 1 then (select coalesce(max(id), 0) from alarm_block)"
    " else (select coalesce(max(id), 0) from log_block) end)";

std::filesystem::path Beside(const std::filesystem::path& file, const std::string& ending) {
  std::filesystem::path name = file;
  name += ending;
  return name;
}

std::string NewId() {
  std::random_device random;
  std::string id;
  for (int i = 0; i < 32; ++i) id += "0123456789abcdef"[random() % 16];
  return id;
}

bool IsEmptyFile(SqliteDatabase& database) {
  return database.Value("select count(*) from sqlite_master") == 0;
}

void CheckOwner(SqliteDatabase& database, const std::filesystem::path& file) {
  const std::string name = file.string();
  if (database.Value("pragma application_id") != kApplicationId) {
    throw Error("spool", name + " is no spool of a recorder");
  }
  const std::int64_t version = database.Value("pragma user_version");
  if (version != kVersion) {
    throw Error("spool", name + " has the layout of version " + std::to_string(version) + ", not " +
                             std::to_string(kVersion));
  }
}

// After a changed letter in a definition, SQLite's own check still succeeds, but queries do not find the
// rows.
bool HasAllTables(SqliteDatabase& database) {
  SqliteStatement rows = database.Prepare("select sql from sqlite_master order by rowid");
  return std::all_of(std::begin(kTables), std::end(kTables), [&rows](const Table& table) {
    return rows.Step() && rows.Bytes(0) == Definition(table);
  });
}

bool IsSound(SqliteDatabase& database) {
  if (!HasAllTables(database)) return false;
  SqliteStatement check = database.Prepare("pragma quick_check(1)");
  return check.Step() && check.Bytes(0) == "ok" && database.Value("select count(*) from spool") == 1;
}

// Counts the records that are there. Those that are missing were lost with damaged parts of the file.
Damage BringTotalsInLine(SqliteDatabase& database) {
  Damage damage;
  SqliteTransaction transaction(database);
  Totals totals = ReadTotals(database);
  damage.recovered = database.Value(kCountRecords);
  const std::int64_t known = totals.Done() + damage.recovered;
  damage.lost = totals.accepted > known ? totals.accepted - known : 0;
  totals.dropped += damage.lost;
  totals.accepted = totals.Done() + damage.recovered;
  WriteTotals(database, totals);
  database.Run(kBoundSending);
  transaction.Commit();
  return damage;
}

void SetUp(SqliteDatabase& database, Syncing syncing) {
  database.Run("pragma journal_mode = wal");
  // At 16 MiB the next commit moves the log into the file.
  database.Run("pragma wal_autocheckpoint = 4000");
  database.Run(syncing == Syncing::AtCommits ? "pragma synchronous = full" : "pragma synchronous = normal");
}

// Writes the definitions again, so that the tables can be read if their pages are sound.
void RestoreDefinitions(SqliteDatabase& damaged) {
  damaged.Run("pragma writable_schema = on");  // otherwise a file that is too short cannot be read at all
  std::int64_t row = 0;
  for (const Table& table : kTables) {
    damaged
        .Prepare(
            "update sqlite_master set type = 'table', name = ?1, tbl_name = ?1, sql = ?2 where rowid = ?3")
        .With(std::string_view(table.name), std::string_view(Definition(table)), ++row)
        .Run();
  }
  damaged.Run("pragma writable_schema = reset; pragma writable_schema = on");  // reset reads them again
}

// Copies what can be read into a new file, which replaces the damaged one only when it is complete, so that a
// crash in between loses nothing.
void Salvage(const std::filesystem::path& file) {
  const std::filesystem::path saved = Beside(file, ".saved");
  std::filesystem::remove(saved);
  {
    SqliteDatabase target(saved, SqliteDatabase::Access::Create);
    CreateSpool(target);
    try {
      SqliteDatabase damaged(file, SqliteDatabase::Access::ReadWrite);
      RestoreDefinitions(damaged);
      CopyReadable(damaged, target);
    } catch (const SqliteFailure& failure) {
      if (!failure.IsDamaged()) throw;
    }
  }
  int number = 1;
  while (std::filesystem::exists(Beside(file, ".damaged-" + std::to_string(number)))) ++number;
  const std::filesystem::path kept = Beside(file, ".damaged-" + std::to_string(number));
  for (const char* ending : {"-wal", "-shm"}) {
    if (std::filesystem::exists(Beside(file, ending))) {
      std::filesystem::rename(Beside(file, ending), Beside(kept, ending));
    }
  }
  std::filesystem::rename(file, kept);
  std::filesystem::rename(saved, file);
}

std::optional<SpoolFile> OpenSound(const std::filesystem::path& file, Syncing syncing) {
  try {
    SqliteDatabase database(file, SqliteDatabase::Access::Create);
    // Needed until the log is in use: if the removal of a rollback journal were lost with the power, the
    // journal would undo later changes.
    database.Run("pragma synchronous = extra");
    if (IsEmptyFile(database)) CreateSpool(database);
    CheckOwner(database, file);
    if (!IsSound(database)) return std::nullopt;
    SetUp(database, syncing);
    const Damage damage = BringTotalsInLine(database);
    SpoolFile opened{std::move(database), std::nullopt};
    if (damage.lost > 0) {
      opened.damage = damage;
      opened.damage->what = file.string() + " lacks records that it had";
    }
    return opened;
  } catch (const SqliteFailure& failure) {
    if (!failure.IsDamaged()) throw;
    return std::nullopt;
  }
}

}  // namespace

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

const char* BlockTable(Kind kind) {
  switch (kind) {
    case Kind::Sample: return "sample_block";
    case Kind::Alarm: return "alarm_block";
    case Kind::Log: break;
  }
  return "log_block";
}

SpoolLock::SpoolLock(const std::filesystem::path& spool)
    : database_(Beside(spool, ".lock"), SqliteDatabase::Access::Create) {
  try {
    database_.Run("pragma busy_timeout = 0");
    database_.Run("begin exclusive");
  } catch (const SqliteFailure& failure) {
    if (!failure.IsBusy()) throw;
    throw Error("spool", spool.string() + " is in use by another recorder");
  }
}

Totals ReadTotals(SqliteDatabase& database) {
  SqliteStatement read =
      database.Prepare("select accepted, stored, duplicates, set_aside, dropped from spool limit 1");
  if (!read.Step()) return {};
  return {read.Integer(0), read.Integer(1), read.Integer(2), read.Integer(3), read.Integer(4)};
}

void WriteTotals(SqliteDatabase& database, const Totals& totals) {
  database.Prepare("update spool set accepted = ?, stored = ?, duplicates = ?, set_aside = ?, dropped = ?")
      .With(totals.accepted, totals.stored, totals.duplicates, totals.setAside, totals.dropped)
      .Run();
}

void CreateSpool(SqliteDatabase& database) {
  database.Run("pragma auto_vacuum = incremental");
  SqliteTransaction transaction(database);
  database.Run(("pragma application_id = " + std::to_string(kApplicationId)).c_str());
  database.Run(("pragma user_version = " + std::to_string(kVersion)).c_str());
  for (const Table& table : kTables) database.Run(Definition(table).c_str());
  database.Prepare("insert into spool (id, created) values (?, ?)")
      .With(std::string_view(NewId()), NowMs())
      .Run();
  transaction.Commit();
}

SpoolFile OpenSpoolFile(const std::filesystem::path& file, Syncing syncing) {
  const std::filesystem::path saved = Beside(file, ".saved");
  if (!std::filesystem::exists(file) && std::filesystem::exists(saved)) std::filesystem::rename(saved, file);
  if (auto opened = OpenSound(file, syncing)) return *std::move(opened);

  Salvage(file);
  auto opened = OpenSound(file, syncing);
  if (!opened) throw Error("spool", file.string() + " cannot be made sound");
  Damage& damage = opened->damage ? *opened->damage : opened->damage.emplace();
  damage.recovered = opened->database.Value(kCountRecords);
  damage.what = file.string() + " was damaged: " + std::to_string(damage.recovered) +
                " waiting records could be read, " + std::to_string(damage.lost) + " are lost";
  return *std::move(opened);
}

}  // namespace historian::recorder
