#pragma once

// Samples that are stored too late for the refresh policies of the aggregates, for instance after an hour
// without a server. Once they are stored, their part of the aggregates is refreshed.

#include <string_view>
#include <vector>

#include "historian/Link.h"
#include "historian/recorder/Spool.h"

namespace historian::recorder {

// The range of the samples that the aggregates' policies may miss.
std::optional<TimeRange> LateRange(const std::vector<std::string_view>& samples);

// Where a refresh may begin: refreshing a range whose samples retention has dropped would delete its
// aggregates.
struct RefreshBounds {
  std::int64_t safeStartMs = 0;  // result of SafeRefreshStart before the late samples were stored
  std::int64_t intactMs = 0;     // since then, the retention policy may have dropped samples older than this
};
// The whole hours of a late range that may be refreshed, from the beginning of the first to the end of the
// last.
std::optional<TimeRange> RefreshWindow(const TimeRange& late, const RefreshBounds& bounds);

// The time in epoch milliseconds from which the aggregates may be refreshed; no value if there are none. Call
// it before late samples are stored.
std::optional<std::int64_t> SafeStart(Link& link);

// Refreshes the aggregates over the first hours of the spool's late range, and removes these hours from the
// range. False when there is no such range. Throws an Error when the server refuses.
bool RefreshLate(Spool& spool, Link& link, std::int64_t safeStartMs);

}  // namespace historian::recorder
