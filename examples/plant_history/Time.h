#pragma once

// Times of a file of measurements: ISO 8601 in, epoch milliseconds out, and back for the table.

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>

namespace plant {

// What is wrong with a time, as the end of a sentence that begins with the text itself.
struct TimeError : std::runtime_error {
  using std::runtime_error::runtime_error;
};

// Sets the time zone by its IANA name (Europe/Berlin) or its offset from UTC (+01:00). Throws
// std::invalid_argument for a name that the system does not know.
void SetZone(const std::string& name);

// Reads `2026-11-21T20:40:05.123Z`: date and time divided by a T or a blank, seconds and fraction optional,
// to the millisecond, then Z, an offset (+01, +0100, +01:00) or nothing: then the time is of the zone set.
//
// A local time that the zone skips when it goes to summer time is an error. One that it has twice is the
// earlier of the two, unless `previous`, the time of the row before, has reached that already: so a file in
// ascending order reads right through the end of summer time.
std::int64_t ParseTime(std::string_view text, std::optional<std::int64_t> previous = {});

// `2026-11-21 20:40:05` in the zone set; with milliseconds when there are any.
std::string FormatTime(std::int64_t time_ms);

}  // namespace plant
