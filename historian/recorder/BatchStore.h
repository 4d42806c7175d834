#pragma once

// Stores the records of a batch at the server, inside a transaction that the caller begins and ends.

#include <functional>
#include <string_view>
#include <utility>
#include <vector>

#include "historian/Link.h"
#include "historian/recorder/Spool.h"

namespace historian::recorder {

class BatchStore {
 public:
  // `step` is called before each call to the server.
  BatchStore(Dbms& dbms, Link& link, Kind kind, std::function<void()> step)
      : dbms_(dbms), link_(link), kind_(kind), step_(std::move(step)) {}

  // Stores what the server accepts, and returns the number of new records. Throws an Error for failures that
  // are not caused by the records themselves.
  std::int64_t Store(const std::vector<std::string_view>& records);

  // The records that the server refused.
  const std::vector<Refused>& refused() const { return refused_; }

 private:
  using Range = std::vector<std::string_view>::const_iterator;

  std::int64_t StoreRange(Range first, Range last);
  std::int64_t Attempt(Range first, Range last);
  std::int64_t CopySamples(Range first, Range last);
  std::int64_t InsertEvents(Range first, Range last);

  Dbms& dbms_;
  Link& link_;
  Kind kind_;
  std::function<void()> step_;
  std::vector<Refused> refused_;
};

}  // namespace historian::recorder
