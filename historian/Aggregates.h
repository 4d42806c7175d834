#pragma once

// Refreshes the continuous aggregates of tag history, datalog_1m and datalog_1h, after samples were added
// that their refresh policies no longer reach. Internal: not installed.
//
// Instants are whole hours since 2000-01-01 00:00 UTC, where a bucket of either aggregate begins.

#include <cstdint>
#include <optional>
#include <string>

#include "historian/Link.h"

namespace historian {

// Whether the database has both aggregates.
bool HasAggregates(Link& link);

// The instant from which the aggregates may be refreshed; no value: any. Call it before samples are added. A
// refresh computes the buckets of a range from its raw samples. Where retention has dropped these, it would
// remove the buckets, so it must begin after the last bucket whose samples were dropped.
std::optional<std::int64_t> SafeRefreshStart(Link& link);

// Refreshes both aggregates from one instant up to another. No transaction may be open.
void RefreshAggregates(Link& link, std::int64_t fromHour, std::int64_t toHour);

// Compresses a compressed chunk again after samples were added to it.
void CompressAgain(Link& link, const std::string& chunk);

}  // namespace historian
