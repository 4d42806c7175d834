#pragma once

// Samples that come too late for the aggregates' own refreshing, as after an hour without a server: the part
// of the aggregates that they belong to is refreshed once they are stored.

#include <string_view>
#include <vector>

#include "historian/Spool.h"
#include "historian/recorder/CallLimit.h"

namespace historian::recorder {

// The range of the samples that the aggregates' policies may pass over.
std::optional<TimeRange> LateRange(const std::vector<std::string_view>& samples);

// What to refresh of an aggregate, in epoch milliseconds, from the first bucket up to the end of the last.
struct RefreshBounds {
  std::int64_t bucketMs = 0;
  std::int64_t oldestRawMs = 0;  // time of the oldest sample of the table
  std::int64_t intactMs = 0;     // retention may have dropped samples older than this
  std::int64_t nowMs = 0;
};
// Whole buckets: not from before the oldest sample, for refreshing a range whose samples retention has
// dropped would delete its aggregates; and not the bucket that is being filled, which the policy refreshes.
// Nothing is left of a range outside.
std::optional<TimeRange> RefreshWindow(const TimeRange& late, const RefreshBounds& bounds);

// Refreshes the aggregates over the first hours of the spool's late range, and takes those off the range.
// False when there is nothing to refresh, also without TimescaleDB. Throws an Error when the server refuses.
bool RefreshLate(Spool& spool, Dbms& dbms, CallLimit& limit, std::chrono::milliseconds most);

}  // namespace historian::recorder
