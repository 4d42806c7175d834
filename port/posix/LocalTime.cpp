#include "port/LocalTime.h"

namespace port {

std::int64_t LocalEpochSeconds(std::tm fields) { return std::mktime(&fields); }

}  // namespace port
