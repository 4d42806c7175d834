#include "Time.h"

#include <algorithm>
#include <chrono>
#include <vector>

#include "Zone.h"

namespace plant {
namespace {

constexpr std::int64_t kDay = 86'400;

// The offset set by SetZone; without one a named zone decides.
std::optional<std::int64_t> fixedOffset;

// Takes a text apart from its front.
class Cursor {
 public:
  explicit Cursor(std::string_view text) : text_(text) {}

  bool AtEnd() const { return text_.empty(); }
  bool AtDigit() const { return !AtEnd() && text_[0] >= '0' && text_[0] <= '9'; }

  bool Take(char wanted) {
    if (AtEnd() || text_[0] != wanted) return false;
    text_.remove_prefix(1);
    return true;
  }

  void Expect(char wanted) {
    if (!Take(wanted)) throw TimeError("is not a time");
  }

  int Digits(int count) {
    int value = 0;
    for (int i = 0; i < count; ++i) {
      if (!AtDigit()) throw TimeError("is not a time");
      value = 10 * value + (text_[0] - '0');
      text_.remove_prefix(1);
    }
    return value;
  }

 private:
  std::string_view text_;
};

std::int64_t ParseDate(Cursor& in) {
  const int year = in.Digits(4);
  in.Expect('-');
  const int month = in.Digits(2);
  in.Expect('-');
  const int day = in.Digits(2);
  const std::chrono::year_month_day date{std::chrono::year(year),
                                         std::chrono::month(static_cast<unsigned>(month)),
                                         std::chrono::day(static_cast<unsigned>(day))};
  if (!date.ok()) throw TimeError("is not a day of the calendar");
  return std::chrono::sys_days(date).time_since_epoch().count() * kDay;
}

std::int64_t ParseClock(Cursor& in) {
  const int hour = in.Digits(2);
  in.Expect(':');
  const int minute = in.Digits(2);
  const int second = in.Take(':') ? in.Digits(2) : 0;
  if (hour > 23 || minute > 59 || second > 59) throw TimeError("is not a time of the day");
  return hour * 3600 + minute * 60 + second;
}

// Zeros past the third digit change nothing; any other digit there would be lost.
int ParseMilliseconds(Cursor& in) {
  if (!in.Take('.')) return 0;
  int milliseconds = in.Digits(1) * 100;
  for (int unit = 10; in.AtDigit(); unit /= 10) {
    const int digit = in.Digits(1);
    if (unit == 0 && digit != 0) throw TimeError("is finer than a millisecond");
    milliseconds += digit * unit;
  }
  return milliseconds;
}

// Seconds east of Greenwich, nothing where the text names no zone.
std::optional<std::int64_t> ParseOffset(Cursor& in) {
  if (in.Take('Z') || in.Take('z')) return 0;
  const bool west = in.Take('-');
  if (!west && !in.Take('+')) return {};
  const int hours = in.Digits(2);
  const bool colon = in.Take(':');
  const int minutes = colon || in.AtDigit() ? in.Digits(2) : 0;
  if (hours > 23 || minutes > 59) throw TimeError("has an offset that no zone has");
  const std::int64_t offset = hours * 3600 + minutes * 60;
  return west ? -offset : offset;
}

std::int64_t OffsetAt(std::int64_t seconds) { return fixedOffset ? *fixedOffset : NamedZoneOffset(seconds); }

// The instants at which the zone's clocks show a local time: none, one or two, in order.
std::vector<std::int64_t> InstantsOf(std::int64_t local) {
  std::vector<std::int64_t> instants;
  for (const std::int64_t offset : {OffsetAt(local - kDay), OffsetAt(local + kDay)}) {
    const std::int64_t instant = local - offset;
    if (OffsetAt(instant) == offset) instants.push_back(instant);
  }
  std::sort(instants.begin(), instants.end());
  instants.erase(std::unique(instants.begin(), instants.end()), instants.end());
  return instants;
}

std::int64_t FromLocal(std::int64_t local, int milliseconds, std::optional<std::int64_t> previous) {
  const std::vector<std::int64_t> instants = InstantsOf(local);
  if (instants.empty()) throw TimeError("does not exist in this time zone: its clocks were set forward");
  const std::int64_t first = instants.front() * 1000 + milliseconds;
  return previous && *previous >= first ? instants.back() * 1000 + milliseconds : first;
}

std::string Digits(std::size_t count, std::int64_t value) {
  const std::string digits = std::to_string(value);
  return std::string(count - std::min(count, digits.size()), '0') + digits;
}

// A name that is an offset.
std::optional<std::int64_t> OffsetNamed(const std::string& name) {
  if (!name.starts_with('+') && !name.starts_with('-')) return {};
  try {
    Cursor in(name);
    const auto offset = ParseOffset(in);
    if (in.AtEnd()) return offset;
  } catch (const TimeError&) {
  }
  throw std::invalid_argument(name);
}

}  // namespace

void SetZone(const std::string& name) {
  fixedOffset = OffsetNamed(name);
  if (!fixedOffset) SetNamedZone(name);
}

std::int64_t ParseTime(std::string_view text, std::optional<std::int64_t> previous) {
  Cursor in(text);
  const std::int64_t date = ParseDate(in);
  if (!in.Take('T')) in.Expect(' ');
  const std::int64_t seconds = date + ParseClock(in);
  const int milliseconds = ParseMilliseconds(in);
  const auto offset = ParseOffset(in);
  if (!in.AtEnd()) throw TimeError("is not a time");
  if (offset) return (seconds - *offset) * 1000 + milliseconds;
  return FromLocal(seconds, milliseconds, previous);
}

std::string FormatTime(std::int64_t time_ms) {
  using namespace std::chrono;
  const std::int64_t milliseconds = (time_ms % 1000 + 1000) % 1000;
  const std::int64_t instant = (time_ms - milliseconds) / 1000;
  const sys_seconds local{seconds(instant + OffsetAt(instant))};
  const sys_days day = floor<days>(local);
  const year_month_day date(day);
  const hh_mm_ss clock(local - day);
  std::string out = Digits(4, int{date.year()}) + '-' + Digits(2, unsigned{date.month()}) + '-' +
                    Digits(2, unsigned{date.day()}) + ' ' + Digits(2, clock.hours().count()) + ':' +
                    Digits(2, clock.minutes().count()) + ':' + Digits(2, clock.seconds().count());
  if (milliseconds != 0) out += '.' + Digits(3, milliseconds);
  return out;
}

}  // namespace plant
