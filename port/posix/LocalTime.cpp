#include "port/LocalTime.h"

#include <time.h>

#include <mutex>

namespace sys {

// The C library guards its zone by an internal lock, which ThreadSanitizer does not see.
void ReadTimeZone() {
  static std::mutex mutex;
  std::lock_guard lock(mutex);
  ::tzset();
}

std::int64_t LocalOffset(std::int64_t instant) {
  const time_t time = instant;
  tm local{};
  ::localtime_r(&time, &local);
  return local.tm_gmtoff;
}

}  // namespace sys
