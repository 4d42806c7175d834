#pragma once

#include "historian/Link.h"
#include "historian/TrendPlan.h"

namespace historian {

// Looks up what the database holds of tag history: on plain PostgreSQL samples alone, everywhere; with
// TimescaleDB what its catalog says of chunks, of the aggregates and of what they have not seen yet.
// Aggregates whose catalog cannot be read count as not there.
Coverage ReadCoverage(Link& link);

// The range outside of which nothing is stored; empty while nothing is.
Range Extent(Link& link, const Coverage& coverage);

}  // namespace historian
