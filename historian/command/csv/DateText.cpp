#include "DateText.h"

#include <array>

namespace historian::command {
namespace {

using namespace std::chrono;
using Kind = TimeFormat::Kind;

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

bool Take(std::string_view& text, char wanted) {
  if (text.empty() || text[0] != wanted) return false;
  text.remove_prefix(1);
  return true;
}

// Takes a number of `least` to `most` digits; `count` receives the number of digits.
bool TakeNumber(std::string_view& text, std::size_t least, std::size_t most, int& number,
                std::size_t* count = nullptr) {
  std::size_t digits = 0;
  number = 0;
  while (digits < text.size() && digits < most && IsDigit(text[digits]))
    number = 10 * number + (text[digits++] - '0');
  if (digits < least || (digits < text.size() && IsDigit(text[digits]))) return false;
  text.remove_prefix(digits);
  if (count != nullptr) *count = digits;
  return true;
}

// Takes four digits, or two: 70 to 99 mean the last century.
bool TakeYear(std::string_view& text, int& number) {
  std::size_t digits = 0;
  if (!TakeNumber(text, 2, 4, number, &digits) || digits == 3) return false;
  if (digits == 2) number += number >= 70 ? 1900 : 2000;
  return true;
}

bool TakeMonthName(std::string_view& text, int& number) {
  constexpr std::array<std::string_view, 12> kMonths = {"jan", "feb", "mar", "apr", "may", "jun",
                                                        "jul", "aug", "sep", "oct", "nov", "dec"};
  if (text.size() < 3) return false;
  for (std::size_t i = 0; i < kMonths.size(); ++i) {
    bool equal = true;
    for (std::size_t c = 0; c < 3; ++c) equal = equal && (text[c] | 0x20) == kMonths[i][c];
    if (!equal) continue;
    text.remove_prefix(3);
    number = static_cast<int>(i) + 1;
    return true;
  }
  return false;
}

bool TakeMeridiem(std::string_view& text, bool& afternoon) {
  std::string_view rest = text;
  while (Take(rest, ' ')) {
  }
  if (rest.size() < 2 || (rest[1] | 0x20) != 'm' || ((rest[0] | 0x20) != 'a' && (rest[0] | 0x20) != 'p'))
    return false;
  afternoon = (rest[0] | 0x20) == 'p';
  text = rest.substr(2);
  return true;
}

bool TakeOffset(std::string_view& text, std::optional<minutes>& offset) {
  while (Take(text, ' ')) {
  }
  if (text.empty()) return true;
  offset = minutes(0);
  if (Take(text, 'Z') || Take(text, 'z')) return true;
  if (text == "UTC" || text == "GMT") {
    text = {};
    return true;
  }
  const bool west = Take(text, '-');
  if (!west && !Take(text, '+')) return false;
  int hours_east = 0, minutes_east = 0;
  if (text.size() == 4 && TakeNumber(text, 4, 4, hours_east)) {
    minutes_east = hours_east % 100;
    hours_east /= 100;
  } else if (!TakeNumber(text, 2, 2, hours_east) ||
             (Take(text, ':') && !TakeNumber(text, 2, 2, minutes_east))) {
    return false;
  }
  if (hours_east > 15 || minutes_east > 59) return false;
  offset = (west ? -1 : 1) * (hours(hours_east) + minutes(minutes_east));
  return true;
}

// Reads to the microsecond; sets `finer` when further digits are lost.
bool TakeFraction(std::string_view& text, microseconds& fraction, bool& finer) {
  if (text.size() < 2 || (text[0] != '.' && text[0] != ',') || !IsDigit(text[1])) return true;
  text.remove_prefix(1);
  int unit = 100'000;
  for (; !text.empty() && IsDigit(text[0]); text.remove_prefix(1), unit /= 10) {
    finer = finer || (unit == 0 && text[0] != '0');
    fraction += microseconds(unit * (text[0] - '0'));
  }
  return true;
}

char SeparatorOf(Kind kind) {
  switch (kind) {
    case Kind::German: return '.';
    case Kind::American:
    case Kind::European:
    case Kind::YearFirst: return '/';
    default: return '-';
  }
}

}  // namespace

bool TakeDate(std::string_view& text, Kind kind, year_month_day& date) {
  int y = 0, m = 0, d = 0;
  const char between = SeparatorOf(kind);
  const auto day_of = [&](int& number) { return TakeNumber(text, 1, 2, number); };
  bool read = false;
  switch (kind) {
    case Kind::Iso:
    case Kind::YearFirst:
      read =
          TakeNumber(text, 4, 4, y) && Take(text, between) && day_of(m) && Take(text, between) && day_of(d);
      break;
    case Kind::American:
      read = day_of(m) && Take(text, between) && day_of(d) && Take(text, between) && TakeYear(text, y);
      break;
    case Kind::German:
    case Kind::European:
      read = day_of(d) && Take(text, between) && day_of(m) && Take(text, between) && TakeYear(text, y);
      break;
    case Kind::MonthName:
      read = day_of(d) && (Take(text, '-') || Take(text, ' ')) && TakeMonthName(text, m) &&
             (Take(text, '-') || Take(text, ' ')) && TakeYear(text, y);
      break;
    default: break;
  }
  date = year(y) / month(static_cast<unsigned>(m)) / day(static_cast<unsigned>(d));
  return read && date.ok();
}

bool TakeClock(std::string_view& text, microseconds& clock, bool& finer) {
  int hour = 0, minute = 0, second = 0;
  if (!TakeNumber(text, 1, 2, hour) || !Take(text, ':') || !TakeNumber(text, 2, 2, minute)) return false;
  microseconds fraction(0);
  if (Take(text, ':') && (!TakeNumber(text, 2, 2, second) || !TakeFraction(text, fraction, finer)))
    return false;
  bool afternoon = false;
  if (TakeMeridiem(text, afternoon)) {
    if (hour < 1 || hour > 12) return false;
    hour = hour % 12 + (afternoon ? 12 : 0);
  }
  const bool end_of_day = hour == 24 && minute == 0 && second == 0 && fraction.count() == 0;
  if ((hour > 23 && !end_of_day) || minute > 59 || second > 59) return false;
  clock = hours(hour) + minutes(minute) + seconds(second) + fraction;
  return true;
}

const char* ReadWrittenTime(std::string_view text, Kind kind, WrittenTime& written) {
  year_month_day date;
  if (!TakeDate(text, kind, date)) return "is not a time";
  microseconds clock(0);
  bool finer = false;
  if (!text.empty()) {
    while (Take(text, ',') || Take(text, ' ') || Take(text, 'T')) {
    }
    if (!TakeClock(text, clock, finer)) return "is not a time of day";
    if (!TakeOffset(text, written.offset) || !text.empty()) return "is not a time";
  }
  if (finer) return "is finer than a microsecond";
  written.local = local_days(date) + clock;
  return nullptr;
}

}  // namespace historian::command
