#pragma once

#include <cstdint>
#include <ctime>

// Epoch seconds of calendar fields that are read as local time of the process. Fields out of range are
// carried over; tm_isdst is ignored. In the hour that occurs twice when clocks go back, the first occurrence
// is meant. Times in the hour that is skipped when clocks go forward read an hour later.
std::int64_t LocalEpochSeconds(const std::tm& fields);
