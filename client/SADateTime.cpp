#include <chrono>

#include "SQLAPI.h"

namespace {

// A day of the same weekday and day of the year, in a year that std::chrono has: the calendar repeats itself
// every 400 years. Year 0 is 1 BC; the Gregorian rules hold for all years.
std::chrono::sys_days Day(int year, int month, int day) {
  using namespace std::chrono;
  return sys_days((std::chrono::year(2000 + year % 400) / January + months(month - 1)) / 1) + days(day - 1);
}

}  // namespace

SADateTime::SADateTime(int year, int month, int day, int hour, int minute, int second,
                       sa_uint32_t nanoseconds)
    : year_(year),
      month_(month),
      day_(day),
      hour_(hour),
      minute_(minute),
      second_(second),
      nanoseconds_(nanoseconds) {}

int SADateTime::GetDayOfWeek() const { return month_ == 0 ? 0 : std::tm(*this).tm_wday + 1; }

int SADateTime::GetDayOfYear() const { return month_ == 0 ? 0 : std::tm(*this).tm_yday + 1; }

SADateTime::operator struct tm() const {
  std::tm fields = {};
  fields.tm_isdst = -1;
  if (month_ == 0) return fields;
  fields.tm_year = year_ - 1900;
  fields.tm_mon = month_ - 1;
  fields.tm_mday = day_;
  fields.tm_hour = hour_;
  fields.tm_min = minute_;
  fields.tm_sec = second_;
  const std::chrono::sys_days day = Day(year_, month_, day_);
  fields.tm_wday = static_cast<int>(std::chrono::weekday(day).c_encoding());
  fields.tm_yday = static_cast<int>((day - Day(year_, 1, 1)).count());
  return fields;
}
