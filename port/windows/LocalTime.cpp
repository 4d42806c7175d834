#include "port/LocalTime.h"

#include <ctime>

namespace sys {
namespace {

// The C runtime knows the years from 1970 to 3000. The calendar repeats itself every 400 years, with the same
// weekdays and so the same days of clock changes.
constexpr std::int64_t kFirst = 2 * 86'400;  // a local time of 1970 in every zone
constexpr std::int64_t kCycle = 146'097LL * 86'400;

}  // namespace

void ReadTimeZone() {}

std::int64_t LocalOffset(std::int64_t instant) {
  const std::int64_t within = (instant - kFirst) % kCycle;
  const __time64_t known = kFirst + (within < 0 ? within + kCycle : within);
  std::tm local = {};
  if (_localtime64_s(&local, &known) != 0) return 0;
  return _mkgmtime64(&local) - known;
}

std::string LocalZoneName() { return {}; }

}  // namespace sys
