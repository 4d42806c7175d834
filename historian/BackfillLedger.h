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
  std::optional<std::int64_t> oldest, newest;  // of its rows
};

// Table historian_backfill, a row for each batch. It is written by the transaction that stores the batch.
class BackfillLedger {
 public:
  explicit BackfillLedger(std::string source) : source_(std::move(source)) {}

  // Creates the table where there is none.
  static void Create(Link& link);

  // Where each stored batch begins and ends.
  std::map<std::int64_t, std::int64_t> Batches(Link& link) const;

  // False when another run has stored the batch meanwhile.
  bool Enter(Link& link, const LedgerEntry& entry) const;

  // From when on aggregates may be refreshed, in hours since 2000-01-01 00:00 UTC. It is kept from the first
  // batch on until the source is finished. No value: any.
  std::optional<std::int64_t> RefreshFrom(Link& link) const;
  void KeepRefreshFrom(std::optional<std::int64_t> hours) { refreshFrom_ = hours; }

  // Whether batches wait for what follows the loading, and that it is done.
  bool IsFinished(Link& link) const;
  void Finish(Link& link) const;

  const std::string& source() const { return source_; }

 private:
  std::string source_;
  std::optional<std::int64_t> refreshFrom_;
};

}  // namespace historian
