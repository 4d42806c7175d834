#pragma once

// Which batches of a source are stored. Internal: not installed.

#include <cstdint>
#include <map>
#include <optional>
#include <string>

#include "historian/Link.h"

namespace historian {

// One batch, as the ledger keeps it. Instants are microseconds since 2000-01-01 00:00 UTC.
struct LedgerEntry {
  std::int64_t begins = 0, ends = 0;  // positions in the source
  std::int64_t samples = 0, stored = 0, duplicates = 0, leftOut = 0;
  std::optional<std::int64_t> oldest, newest;  // times of its rows
};

// The table historian_backfill, with a row for each batch, written in the transaction that stores the batch.
class BackfillLedger {
 public:
  explicit BackfillLedger(std::string source) : source_(std::move(source)) {}

  // Creates the table unless it exists.
  static void Create(Link& link);

  // Where each stored batch begins and ends.
  std::map<std::int64_t, std::int64_t> Batches(Link& link) const;

  // Adds a batch. Returns false when another run has stored it meanwhile.
  bool Enter(Link& link, const LedgerEntry& entry) const;

  // The hour since 2000-01-01 00:00 UTC from which aggregates may be refreshed; no value: any. It is kept
  // from the first batch until the source is finished.
  std::optional<std::int64_t> RefreshFrom(Link& link) const;
  void KeepRefreshFrom(std::optional<std::int64_t> hours) { refreshFrom_ = hours; }

  // Whether the aggregates and chunks of all batches are up to date; Finish records that they are.
  bool IsFinished(Link& link) const;
  void Finish(Link& link) const;

  const std::string& source() const { return source_; }

 private:
  std::string source_;
  std::optional<std::int64_t> refreshFrom_;
};

}  // namespace historian
