#pragma once

// Converts times for statements and from rows.

#include <cstdint>
#include <ctime>
#include <string>

#include "port/LocalTime.h"

// Converts milliseconds since the epoch to the seconds of a parameter.
double EpochSeconds(std::int64_t milliseconds);

// The same in a statement's text: 1700000000123 is 1700000000.123 and 1700000000000 is 1.7e+09.
std::wstring EpochSecondsText(std::int64_t milliseconds);

// Epoch seconds of calendar fields that are read as UTC. Fields out of range are carried over.
std::int64_t SecondsInUtc(const std::tm& fields);

// The same of local time of the process. tm_isdst is ignored. A time in the hour that is repeated when clocks
// go back means its first occurrence. A time in the hour that is skipped when clocks go forward reads an hour
// later.
std::int64_t LocalEpochSeconds(const std::tm& fields);
// For many times, each given as its fields read as UTC.
std::int64_t LocalEpochSeconds(std::int64_t fieldsInUtc, sys::LocalOffsets& offsets);
