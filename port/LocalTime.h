#pragma once

#include <array>
#include <cstdint>
#include <limits>
#include <string>

namespace sys {

// Applies a changed TZ, as POSIX's mktime does at every call. Call it before reading the times of a result.
// The C runtime of Windows reads TZ once; there this does nothing.
void ReadTimeZone();

// Seconds that local time is ahead of UTC at an instant. Windows applies today's rules to all years.
std::int64_t LocalOffset(std::int64_t instant);

// The same offsets for the many times of a result, cached by day. Construct it after ReadTimeZone.
//
// A day that begins and ends with the same offset is taken to have it throughout: no zone has ever left an
// offset and returned to it within three days.
class LocalOffsets {
 public:
  std::int64_t At(std::int64_t instant);

 private:
  struct Day {
    std::int64_t number = std::numeric_limits<std::int64_t>::min();
    std::int64_t offset = 0;
  };

  std::array<Day, 8> days_;
};

// The IANA name of the process's time zone ("Europe/Berlin"), from TZ or the system's setting. Empty when the
// name is not certain, and always on Windows.
std::string LocalZoneName();

}  // namespace sys
