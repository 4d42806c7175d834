#pragma once

#include <cstdint>
#include <ctime>

namespace sys {

// Takes notice of a TZ that has changed, as mktime does where that reads TZ at every call: to be called
// before the times of a result are read. Windows' C runtime reads TZ once; there this does nothing.
void ReadTimeZone();

// Epoch seconds of calendar fields read as local time of the process. Fields out of range are carried over;
// tm_isdst is not looked at. Where clocks are put back, fields of the hour that comes twice are those of its
// first time; where they are put forward, fields of the hour that is left out read as an hour later.
std::int64_t LocalEpochSeconds(const std::tm& fields);

// What local time is ahead of UTC at an instant, in seconds. Windows applies the rules of today to all years.
std::int64_t LocalOffset(std::int64_t instant);

}  // namespace sys
