#pragma once

// The table historian_ledger: for each spool the number of the last batch that the server has stored, written
// in the transaction that stores the batch.

#include <cstdint>
#include <optional>
#include <string>

#include "historian/Link.h"

namespace historian::recorder {

class Ledger {
 public:
  struct Entry {
    std::int64_t batch = 0;   // number of the last one
    std::int64_t stored = 0;  // records of it that were new
  };

  explicit Ledger(const std::string& spoolId) : spool_(spoolId) {}

  // Creates the table unless it exists.
  static void Create(Link& link);

  // The entry of the spool; no value when no batch of it is stored yet.
  std::optional<Entry> Read(Link& link) const;

  // Begins the transaction of a batch. If an earlier transaction of the batch is still open, waits for its
  // end. Returns false when the batch is stored already.
  bool Begin(Link& link, std::int64_t batch) const;
  void Commit(Link& link, std::int64_t stored) const;

 private:
  std::string spool_;  // hexadecimal digits
};

}  // namespace historian::recorder
