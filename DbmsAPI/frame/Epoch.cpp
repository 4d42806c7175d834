#include "DbmsAPI/frame/Epoch.h"

#include <chrono>

#include "DbmsAPI/frame/Format.h"

namespace {

constexpr std::int64_t kDay = 24 * 60 * 60;

// The calendar repeats itself after 400 years. PostgreSQL's years go further than those of <chrono>.
constexpr std::int64_t kCycleMonths = 400 * 12;
constexpr std::int64_t kCycle = 146'097 * kDay;

}  // namespace

double EpochSeconds(std::int64_t milliseconds) { return static_cast<double>(milliseconds) / 1000.0; }

std::wstring EpochSecondsText(std::int64_t milliseconds) { return ShortestText(EpochSeconds(milliseconds)); }

std::int64_t SecondsInUtc(const std::tm& fields) {
  using namespace std::chrono;
  const std::int64_t month = (std::int64_t{fields.tm_year} + 1900) * 12 + fields.tm_mon;
  const std::int64_t cycles = month / kCycleMonths - (month % kCycleMonths < 0 ? 1 : 0);
  const sys_days first = (year(0) / January + months(month - cycles * kCycleMonths)) / 1;
  const std::int64_t day = first.time_since_epoch().count() + std::int64_t{fields.tm_mday} - 1;
  return cycles * kCycle + day * kDay + std::int64_t{fields.tm_hour} * 3600 +
         std::int64_t{fields.tm_min} * 60 + fields.tm_sec;
}

// Not mktime: in an hour that occurs twice, its choice depends on the calls before.
std::int64_t LocalEpochSeconds(std::int64_t fieldsInUtc, sys::LocalOffsets& offsets) {
  const std::int64_t before = offsets.At(fieldsInUtc - kDay);
  const std::int64_t first = fieldsInUtc - before;
  if (offsets.At(first) == before) return first;
  const std::int64_t after = offsets.At(fieldsInUtc + kDay);
  const std::int64_t second = fieldsInUtc - after;
  if (offsets.At(second) == after) return second;
  return first;
}

std::int64_t LocalEpochSeconds(const std::tm& fields) {
  sys::LocalOffsets offsets;
  return LocalEpochSeconds(SecondsInUtc(fields), offsets);
}
