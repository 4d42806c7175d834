#pragma once

#include <string_view>

#include "SQLAPI.h"

namespace pq {

// The calendar fields of a date, timestamp or timestamptz in the server's ISO text, unchanged: a time
// zone after them is ignored, a missing time of day is 0, and decimals of the second beyond the ninth are
// cut. Years count astronomically: 1 BC is 0, 2 BC is -1. Anything else, infinity too, is a class 2
// error.
SADateTime ParseDateTime(std::string_view text);

}  // namespace pq
