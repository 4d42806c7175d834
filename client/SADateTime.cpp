#include "SQLAPI.h"

namespace {

constexpr int kDaysBeforeMonth[] = {0, 31, 59, 90, 120, 151, 181, 212, 243, 273, 304, 334};
constexpr int kFirstDayOfEra = 6;  // every 400 years 1 January is a Saturday again, as in 2000

bool IsLeapYear(int year) { return year % 4 == 0 && (year % 100 != 0 || year % 400 == 0); }

// From 0. Year 0 is 1 BC; the Gregorian rules hold for all years.
int DayOfYear(int year, int month, int day) {
  if (month < 1 || month > 12) return 0;
  return kDaysBeforeMonth[month - 1] + day - 1 + (month > 2 && IsLeapYear(year) ? 1 : 0);
}

// From 0, which is Sunday.
int DayOfWeek(int year, int month, int day) {
  const int yearOfEra = ((year % 400) + 400) % 400;
  const int leapDays = yearOfEra == 0 ? 0 : (yearOfEra - 1) / 4 - (yearOfEra - 1) / 100 + 1;
  return (kFirstDayOfEra + yearOfEra * 365 + leapDays + DayOfYear(year, month, day)) % 7;
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

int SADateTime::GetDayOfWeek() const { return month_ == 0 ? 0 : DayOfWeek(year_, month_, day_) + 1; }

int SADateTime::GetDayOfYear() const { return month_ == 0 ? 0 : DayOfYear(year_, month_, day_) + 1; }

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
  fields.tm_wday = DayOfWeek(year_, month_, day_);
  fields.tm_yday = DayOfYear(year_, month_, day_);
  return fields;
}
