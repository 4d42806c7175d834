#pragma once

#include <cstdint>

namespace sys {

// Applies a changed TZ, as POSIX's mktime does at every call. Call it before reading the times of a result.
// The C runtime of Windows reads TZ once; there this does nothing.
void ReadTimeZone();

// Seconds that local time is ahead of UTC at an instant. Windows applies today's rules to all years.
std::int64_t LocalOffset(std::int64_t instant);

}  // namespace sys
