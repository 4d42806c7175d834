#pragma once

// The spool's file: its layout, its lock, and what is saved of a damaged one.

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

// Numbers of records since the spool was made, as the file has them.
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
  std::string what;            // for people
  std::int64_t recovered = 0;  // records still waiting
  std::int64_t lost = 0;       // records that were accepted and cannot be read; counted as dropped
};

// Holds a spool for one recorder, by a file beside it whose name ends in ".lock". Throws an Error when
// another one has it.
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

// Opens a spool or makes it. A damaged one is replaced by what can be read of it and kept beside it, its name
// ending in ".damaged-1" (2, 3, ...), with the definitions of its tables restored. Throws an Error when the
// file is no spool or one of a later version.
SpoolFile OpenSpoolFile(const std::filesystem::path& file, Syncing syncing);

// The table of the blocks of a kind.
const char* BlockTable(Kind kind);

Totals ReadTotals(SqliteDatabase& database);
void WriteTotals(SqliteDatabase& database, const Totals& totals);

// Makes the tables of an empty spool.
void CreateSpool(SqliteDatabase& database);

// Copies what can be read of a damaged spool into an empty one; gives the number of records it could read.
std::int64_t CopyReadable(SqliteDatabase& damaged, SqliteDatabase& target);

}  // namespace historian::recorder
