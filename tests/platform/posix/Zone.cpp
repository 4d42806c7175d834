#include "platform/Zone.h"

#include "platform/Process.h"

namespace platform {
namespace {

constexpr std::int64_t kDay = 86400;

long OffsetAt(std::int64_t seconds) { return LocalTime(seconds).tm_gmtoff; }

}  // namespace

void SetZone(const char* name) {
  SetVariable("TZ", name);
  ::tzset();
}

std::tm LocalTime(std::int64_t seconds) {
  const std::time_t time = seconds;
  return *std::localtime(&time);
}

std::int64_t KnownFrom() { return INT64_MIN; }

bool IsSettled(std::int64_t seconds) { return OffsetAt(seconds - kDay) == OffsetAt(seconds + kDay); }

}  // namespace platform
