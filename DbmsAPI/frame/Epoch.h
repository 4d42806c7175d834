#pragma once

// Times as statements take them and as rows give them.

#include <cstdint>
#include <ctime>
#include <string>

#include "port/LocalTime.h"

// Milliseconds since the epoch as the seconds that a parameter takes.
double EpochSeconds(std::int64_t milliseconds);

// The same in a statement's text: 1700000000123 is 1700000000.123 and 1700000000000 is 1.7e+09.
std::wstring EpochSecondsText(std::int64_t milliseconds);

// Epoch seconds of calendar fields that are read as local time of the process. Fields out of range are
// carried over; tm_isdst is ignored. In the hour that occurs twice when clocks go back, the first occurrence
// is meant. Times in the hour that is skipped when clocks go forward read an hour later.
std::int64_t LocalEpochSeconds(const std::tm& fields);
std::int64_t LocalEpochSeconds(const std::tm& fields, sys::LocalOffsets& offsets);  // of many times
