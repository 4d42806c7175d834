#pragma once

#include <cstdint>
#include <ctime>

namespace platform {

// Puts the process into a time zone by its IANA name, or with null into the one it has of the system.
// Windows' C runtime has no such zones; for the few that the tests name, it is given today's rules.
void SetZone(const char* name);

// The calendar fields of an instant in the zone of the process.
std::tm LocalTime(std::int64_t seconds);

// The first instant at which the process knows how far its zone is from Greenwich: Windows applies a zone's
// rules of today to all years.
std::int64_t KnownFrom();

// Whether that is known at an instant and the same a day before and after it: around a clock change local
// times are repeated or left out.
bool IsSettled(std::int64_t seconds);

}  // namespace platform
