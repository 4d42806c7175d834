#pragma once

#include <cstdint>

namespace sys {

// Notices a TZ that has changed, as mktime of POSIX does at every call. Call it before the times of a result
// are read. The C runtime of Windows reads TZ once; there this does nothing.
void ReadTimeZone();

// How many seconds local time is ahead of UTC at an instant. Windows applies the rules of today to all years.
std::int64_t LocalOffset(std::int64_t instant);

}  // namespace sys
