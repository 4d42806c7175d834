#include "port/LocalTime.h"

#include <time.h>

namespace sys {

void ReadTimeZone() { ::tzset(); }

std::int64_t LocalOffset(std::int64_t instant) {
  const time_t time = instant;
  tm local{};
  ::localtime_r(&time, &local);
  return local.tm_gmtoff;
}

}  // namespace sys
