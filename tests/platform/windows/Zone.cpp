#include "platform/Zone.h"

#include <stdexcept>
#include <string>
#include <string_view>

#include "platform/Process.h"

namespace platform {
namespace {

constexpr std::int64_t kDay = 86400;

// The runtime uses the rules of the United States, and knows their history since then.
constexpr std::int64_t kRulesHoldFrom = 599'616'000;  // 1989

struct Rules {
  std::string_view name;
  const char* text;
};
constexpr Rules kZones[] = {
    {"UTC", "UTC0"}, {"Asia/Kolkata", "IST-5:30"}, {"America/St_Johns", "NST3:30NDT"}};

// The runtime knows no time before 1970; the calendar repeats itself after 400 years.
constexpr int kCycleYears = 400;
constexpr std::int64_t kCycle = 146'097 * kDay;

}  // namespace

void SetZone(const char* name) {
  const char* text = nullptr;
  for (const Rules& zone : kZones) {
    if (name && zone.name == name) text = zone.text;
  }
  // The name of an earlier zone may return.
  SetVariable("TZ", text ? text : name);
  _tzset();
  // Remains from a system zone without summer time.
  if (text) _dstbias = -3600;
}

std::tm LocalTime(std::int64_t seconds) {
  const bool early = seconds < kDay;
  const __time64_t time = early ? seconds + kCycle : seconds;
  std::tm fields = {};
  if (_localtime64_s(&fields, &time) != 0) throw std::range_error("no local time");
  if (early) fields.tm_year -= kCycleYears;
  return fields;
}

std::int64_t KnownFrom() { return _timezone == 0 && _daylight == 0 ? INT64_MIN : kRulesHoldFrom; }

bool IsSettled(std::int64_t seconds) {
  return seconds >= KnownFrom() && LocalTime(seconds - kDay).tm_isdst == LocalTime(seconds + kDay).tm_isdst;
}

}  // namespace platform
