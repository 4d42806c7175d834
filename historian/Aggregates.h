#pragma once

// The continuous aggregates of tag history, datalog_1m and datalog_1h, after samples have been added that
// their refresh policies no longer reach. Internal: not installed.
//
// Instants are whole hours since 2000-01-01 00:00 UTC, where a bucket of either aggregate begins.

#include <cstdint>
#include <optional>
#include <string>

#include "historian/Link.h"

namespace historian {

// Whether the database keeps the two aggregates, and not plain tables alone.
bool HasAggregates(Link& link);

// From when on the aggregates may be refreshed, to be asked before samples are added; no value: all of them
// may be. Refreshing gives a range the buckets that its raw samples make. Where retention has dropped the
// samples it would remove the buckets, so it has to begin after the last bucket that was made of dropped
// ones.
std::optional<std::int64_t> SafeRefreshStart(Link& link);

// Refreshes both aggregates from one instant up to another. No transaction may be open.
void RefreshAggregates(Link& link, std::int64_t fromHour, std::int64_t toHour);

// Compresses a chunk again in which samples have been stored since it was compressed.
void CompressAgain(Link& link, const std::string& chunk);

}  // namespace historian
