#pragma once

#include <cstdint>
#include <ctime>

namespace platform {

// Sets the time zone of the process by its IANA name; null restores the system's zone.
// The C runtime of Windows does not know IANA names; the few that the tests use get today's rules.
void SetZone(const char* name);

// The calendar fields of an instant in the zone of the process.
std::tm LocalTime(std::int64_t seconds);

// The first instant for which the process has the right offset from UTC: Windows applies today's rules of a
// zone to all years.
std::int64_t KnownFrom();

// Whether the offset is right at an instant, and the same a day before and a day after. Around a clock
// change, local times are repeated or skipped.
bool IsSettled(std::int64_t seconds);

}  // namespace platform
