#include "Zone.h"

#include <charconv>
#include <optional>

#include "Failure.h"
#include "Text.h"

namespace historian::command {
namespace {

using namespace std::chrono;

class FixedZone : public Zone {
 public:
  FixedZone(std::string name, minutes offset) : Zone(std::move(name)), offset_(offset) {}
  Instant ToInstant(LocalTime local) const override {
    return {Kind::Unique, Time(local.time_since_epoch() - offset_)};
  }
  LocalTime ToLocal(Time time) const override { return LocalTime(time.time_since_epoch() + offset_); }

 private:
  minutes offset_;
};

// +01:00, +0100, +01, - likewise.
std::optional<minutes> ReadOffset(std::string_view text) {
  if (text.empty() || (text[0] != '+' && text[0] != '-')) return {};
  std::string digits;
  for (const char c : text.substr(1)) {
    if (c != ':') digits += c;
  }
  if ((digits.size() != 2 && digits.size() != 4) || digits.find_first_not_of("0123456789") != digits.npos)
    return {};
  int number = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), number);
  if (digits.size() == 2) number *= 100;
  if (number / 100 > 15 || number % 100 > 59) return {};
  const minutes offset(number / 100 * 60 + number % 100);
  return text[0] == '-' ? -offset : offset;
}

std::string Digits(std::size_t count, std::int64_t value) {
  const std::string digits = std::to_string(value);
  return std::string(count - std::min(count, digits.size()), '0') + digits;
}

// Writes the fraction of a second, if any, with three or six digits.
std::string Format(local_time<microseconds> local, char between) {
  const auto day = floor<days>(local);
  const year_month_day date(day);
  const hh_mm_ss clock(local - day);
  std::string out = Digits(4, int{date.year()}) + '-' + Digits(2, unsigned{date.month()}) + '-' +
                    Digits(2, unsigned{date.day()}) + between + Digits(2, clock.hours().count()) + ':' +
                    Digits(2, clock.minutes().count()) + ':' + Digits(2, clock.seconds().count());
  const auto fraction = clock.subseconds().count();
  if (fraction != 0) out += '.' + (fraction % 1000 == 0 ? Digits(3, fraction / 1000) : Digits(6, fraction));
  return out;
}

}  // namespace

std::unique_ptr<Zone> FindZone(const std::string& name) {
  if (name == "UTC" || name == "Z") return std::make_unique<FixedZone>("UTC", minutes(0));
  if (const auto offset = ReadOffset(name)) return std::make_unique<FixedZone>(name, *offset);
  return FindNamedZone(name);
}

std::string FormatTime(Time time, const Zone& zone) { return Format(zone.ToLocal(time), ' '); }

std::string FormatExact(sys_time<microseconds> time, const Zone& zone) {
  const auto rounded = floor<milliseconds>(time);
  const auto offset = floor<minutes>(zone.ToLocal(rounded).time_since_epoch() - rounded.time_since_epoch());
  const std::string text = Format(local_time<microseconds>(time.time_since_epoch() + offset), 'T');
  if (offset == minutes(0)) return text + 'Z';
  const auto size = abs(offset).count();
  return text + (offset < minutes(0) ? '-' : '+') + Digits(2, size / 60) + ':' + Digits(2, size % 60);
}

std::string FormatUtc(Time time) { return Format(LocalTime(time.time_since_epoch()), 'T') + 'Z'; }

}  // namespace historian::command
