#include "port/LocalTime.h"

#include <time.h>

namespace sys {

void ReadTimeZone() { ::tzset(); }

std::int64_t LocalOffset(std::int64_t instant) {
  const std::time_t time = instant;
  std::tm local{};
  ::localtime_r(&time, &local);
  return local.tm_gmtoff;
}

}  // namespace sys
