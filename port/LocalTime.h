#pragma once

#include <cstdint>
#include <ctime>

namespace port {

// Epoch seconds of calendar fields read as local time of the process; -1 when they are no time. Fields
// out of range are carried over; tm_isdst below 0 lets the zone's rules decide.
std::int64_t LocalEpochSeconds(std::tm fields);

}  // namespace port
