#include "port/LocalTime.h"

#include <time.h>

namespace port {
namespace {

constexpr std::time_t kDay = 24 * 60 * 60;

// What local time is ahead of UTC at an instant, in seconds.
std::time_t Offset(std::time_t instant) {
  std::tm local{};
  ::localtime_r(&instant, &local);
  return local.tm_gmtoff;
}

}  // namespace

// Not by mktime, whose choice for an hour that comes twice depends on the calls before.
std::int64_t LocalEpochSeconds(std::tm fields) {
  const std::time_t fieldsInUtc = ::timegm(&fields);
  const std::time_t before = Offset(fieldsInUtc - kDay);
  const std::time_t first = fieldsInUtc - before;
  if (Offset(first) == before) return first;
  const std::time_t after = Offset(fieldsInUtc + kDay);
  const std::time_t second = fieldsInUtc - after;
  if (Offset(second) == after) return second;
  return first;
}

}  // namespace port
