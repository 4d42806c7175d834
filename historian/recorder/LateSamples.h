#pragma once

// Samples that come too late for the aggregates' own refreshing, as after an hour without a server: the part
// of the aggregates that they belong to is refreshed once they are stored.

#include <string_view>
#include <vector>

#include "historian/Link.h"
#include "historian/Spool.h"

namespace historian::recorder {

// The range of the samples that the aggregates' policies may pass over.
std::optional<TimeRange> LateRange(const std::vector<std::string_view>& samples);

// From where on the aggregates may be refreshed: refreshing a range whose samples retention has dropped would
// delete its aggregates.
struct RefreshBounds {
  std::int64_t safeStartMs = 0;  // what SafeRefreshStart gave before the late samples were stored
  std::int64_t intactMs = 0;     // the retention policy may have dropped samples older than this since
};
// The whole hours of a late range that may be refreshed, from the beginning of the first to the end of the
// last.
std::optional<TimeRange> RefreshWindow(const TimeRange& late, const RefreshBounds& bounds);

// Epoch milliseconds from which on the aggregates may be refreshed, to be asked before late samples are
// stored; nothing where there are no aggregates.
std::optional<std::int64_t> SafeStart(Link& link);

// Refreshes the aggregates over the first hours of the spool's late range, and takes those off the range.
// False when there is no such range. Throws an Error when the server refuses.
bool RefreshLate(Spool& spool, Link& link, std::int64_t safeStartMs);

}  // namespace historian::recorder
