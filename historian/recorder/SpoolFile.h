#pragma once

// The spool's file: its layout, its lock, and the recovery of a damaged one.

#include <array>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

#include "historian/recorder/Block.h"
#include "historian/recorder/Sqlite.h"

namespace historian::recorder {

// The system's clock, in epoch milliseconds.
std::int64_t NowMs();

// Numbers of records since the spool was created, as kept in the file.
struct Totals {
  std::int64_t accepted = 0;
  std::int64_t stored = 0;
  std::int64_t duplicates = 0;
  std::int64_t setAside = 0;
  std::int64_t dropped = 0;

  std::int64_t Done() const { return stored + duplicates + setAside + dropped; }
};

// What was wrong with a file.
struct Damage {
  std::string what;            // a description
  std::int64_t recovered = 0;  // records still waiting
  std::int64_t lost = 0;       // records that were accepted and cannot be read; counted as dropped
};

// Locks a spool for one recorder, with a file beside it whose name ends in ".lock". Throws an Error when
// another recorder holds the lock.
class SpoolLock {
 public:
  explicit SpoolLock(const std::filesystem::path& spool);

 private:
  SqliteDatabase database_;
};

enum class Syncing { AtCheckpoints, AtCommits };

struct SpoolFile {
  SqliteDatabase database;
  std::optional<Damage> damage;
};

// Opens a spool or creates it. A damaged spool is replaced by a new file with everything that can be read of
// it; the old file stays under a name that ends in ".damaged-1" (2, 3, ...), with its table definitions
// restored. Throws an Error when the file is not a spool or is one of a later version.
SpoolFile OpenSpoolFile(const std::filesystem::path& file, Syncing syncing);

// The name of the table with the blocks of a kind.
const char* BlockTable(Kind kind);

Totals ReadTotals(SqliteDatabase& database);
void WriteTotals(SqliteDatabase& database, const Totals& totals);

// Creates the tables of an empty spool.
void CreateSpool(SqliteDatabase& database);

// Copies what can be read of a damaged spool into an empty one, and returns the number of records.
std::int64_t CopyReadable(SqliteDatabase& damaged, SqliteDatabase& target);

}  // namespace historian::recorder
