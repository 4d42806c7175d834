#pragma once

#include <cstdint>
#include <ctime>

namespace port {

// Epoch seconds of calendar fields read as local time of the process. Fields out of range are carried over;
// tm_isdst is not looked at. Where clocks are put back, fields of the hour that comes twice are those of its
// first time; where they are put forward, fields of the hour that is left out read as an hour later. On
// Windows fields before 1970 are no time: -1.
std::int64_t LocalEpochSeconds(std::tm fields);

}  // namespace port
