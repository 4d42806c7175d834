#include "port/LocalTime.h"

namespace port {

std::int64_t LocalEpochSeconds(std::tm fields) { return _mktime64(&fields); }

}  // namespace port
