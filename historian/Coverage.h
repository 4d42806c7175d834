#pragma once

#include "historian/Link.h"
#include "historian/TrendPlan.h"

namespace historian {

// Finds out which ranges of tag history are stored. On plain PostgreSQL there are only samples, possibly at
// any time. With TimescaleDB the catalog has the ranges of the chunks, of the aggregates, and of samples
// that these do not include yet. Aggregates whose catalog cannot be read are ignored.
Coverage ReadCoverage(Link& link);

// The range from the first to the last stored time; empty when nothing is stored.
Range Extent(Link& link, const Coverage& coverage);

}  // namespace historian
