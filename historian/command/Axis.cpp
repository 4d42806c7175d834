#include "Axis.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace historian::command {
namespace {

using namespace std::chrono;

// A step between marks, in months or as a duration.
struct Step {
  int months = 0;
  seconds length{0};
};

constexpr std::array kLengths = {seconds(1),     seconds(5),      seconds(10),    seconds(30),
                                 seconds(60),    seconds(300),    seconds(600),   seconds(1800),
                                 seconds(3600),  seconds(7200),   seconds(21600), seconds(43200),
                                 seconds(86400), seconds(172800), seconds(604800)};
constexpr std::array kMonths = {1, 3, 6, 12, 24, 60, 120, 240};
constexpr seconds kMonth(30 * 86400);

Step StepFor(milliseconds span, std::size_t most) {
  const auto fits = [&](seconds length) { return span / length < static_cast<std::int64_t>(most); };
  for (const seconds length : kLengths) {
    if (fits(length)) return {0, length};
  }
  for (const int months : kMonths) {
    if (fits(months * kMonth)) return {months, {}};
  }
  return {1200, {}};
}

// Weeks begin on Monday.
LocalTime FirstMark(LocalTime from, const Step& step) {
  if (step.months != 0) {
    const year_month_day date(floor<days>(from));
    const int month =
        (int{date.year()} * 12 + static_cast<int>(unsigned{date.month()}) - 1) / step.months * step.months;
    return local_days(year(month / 12) / std::chrono::month(static_cast<unsigned>(month % 12 + 1)) / day(1));
  }
  const LocalTime monday{days(4)};
  return monday + floor<milliseconds>((from - monday) / step.length * step.length);
}

LocalTime NextMark(LocalTime mark, const Step& step) {
  if (step.months == 0) return mark + step.length;
  return local_days(year_month_day(floor<days>(mark)) + months(step.months));
}

std::string LabelOf(LocalTime mark, const Step& step) {
  const std::string text = FormatUtc(Time(mark.time_since_epoch()));  // 2026-11-21T20:40:05Z
  if (step.months != 0) return text.substr(0, step.months >= 12 ? 4 : 7);
  if (step.length >= days(1) || floor<days>(mark) == mark) return text.substr(0, 10);
  return step.length < minutes(1) ? text.substr(11, 8) : text.substr(11, 5);
}

}  // namespace

std::vector<TimeTick> TimeTicks(Time from, Time to, std::size_t most, const Zone& zone) {
  std::vector<TimeTick> ticks;
  const Step step = StepFor(to - from, std::max<std::size_t>(most, 1));
  const LocalTime end = zone.ToLocal(to);
  for (LocalTime mark = FirstMark(zone.ToLocal(from), step); mark <= end; mark = NextMark(mark, step)) {
    const Zone::Instant instant = zone.ToInstant(mark);
    if (instant.kind != Zone::Kind::Unique || instant.time < from || instant.time > to) continue;
    ticks.push_back({instant.time, LabelOf(mark, step)});
  }
  return ticks;
}

std::string RangeText(Time from, Time to, const Zone& zone) {
  const bool is_short = to - from < minutes(1);
  const auto text = [&](Time time) { return FormatTime(is_short ? time : floor<seconds>(time), zone); };
  return text(from) + " to " + text(to) + ", " + zone.name();
}

std::vector<double> ValueTicks(const ValueRange& range, std::size_t most) {
  const double rough = (range.high - range.low) / static_cast<double>(std::max<std::size_t>(most, 2) - 1);
  const double power = std::pow(10, std::floor(std::log10(rough)));
  double step = 10 * power;
  for (const double factor : {1.0, 2.0, 5.0}) {
    if (factor * power < rough) continue;
    step = factor * power;
    break;
  }
  std::vector<double> ticks;
  for (double at = std::ceil(range.low / step); at * step <= range.high; ++at) ticks.push_back(at * step);
  return ticks;
}

}  // namespace historian::command
