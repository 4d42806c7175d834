#pragma once

#include "pgAPI.h"

namespace pq {

// libpq's entry points.
pgAPI& NativeApi();

}  // namespace pq
