#pragma once

#include <cstdint>
#include <string>

#include "Cell.h"
#include "SQLAPI.h"

namespace pq {

// Reads values in the server's binary format. The results are bit by bit those of the values' texts. Bytes
// that are not a value of their type are a class 2 error.

// Whether the functions below can read values of a type. For timestamptz they need the offsets of the
// session's time zone.
bool IsReadableInBinary(unsigned type, bool zoneIsKnown);

std::int64_t BinaryInteger(const Cell& cell, std::int64_t least, std::int64_t greatest);
double BinaryDouble(const Cell& cell);
bool BinaryBool(const Cell& cell);
SADateTime BinaryDateTime(const Cell& cell);
// Seconds from 1970 to the calendar fields of a finite timestamptz, as if they were in UTC; false for others.
bool BinaryCalendarSeconds(const Cell& cell, std::int64_t& seconds);

// The text that the server would have sent with extra_float_digits at its default and DateStyle ISO. Of the
// shortest texts of a float8 this is the closest one; the server at times writes a longer one (for 1e23).
std::string BinaryText(const Cell& cell);

}  // namespace pq
