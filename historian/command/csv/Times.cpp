#include "Times.h"

#include <date/date.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <sstream>

#include "../Failure.h"
#include "../Text.h"
#include "CsvReader.h"
#include "DateText.h"

namespace historian::command {
namespace {

using namespace std::chrono;
using Kind = TimeFormat::Kind;

struct Named {
  Kind kind;
  const char* name;
};
// In the order in which they are tried.
constexpr std::array<Named, 9> kKinds = {{{Kind::Iso, "iso"},
                                          {Kind::German, "german"},
                                          {Kind::American, "us"},
                                          {Kind::European, "eu"},
                                          {Kind::YearFirst, "ymd"},
                                          {Kind::MonthName, "month-name"},
                                          {Kind::EpochSeconds, "epoch"},
                                          {Kind::EpochMilliseconds, "epoch-ms"},
                                          {Kind::Excel, "excel"}}};
constexpr char kNotExcel[] = "is not a time in days, as spreadsheets count them";
constexpr char kTooFine[] = "is finer than a millisecond (--truncate-times cuts it)";

bool IsEpoch(Kind kind) { return kind == Kind::EpochSeconds || kind == Kind::EpochMilliseconds; }

// Converts digits, with or without a fraction, to microseconds; `unit` is the number of microseconds in 1.
// Returns what is wrong with the text, null if nothing is.
const char* ReadEpoch(std::string_view text, std::int64_t unit, std::int64_t& us) {
  std::int64_t whole = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, error] = std::from_chars(text.data(), end, whole);
  if (error != std::errc() || whole < 0 || whole > INT64_MAX / 1'000'000)
    return "is not a time in epoch seconds or milliseconds";
  us = whole * unit;
  if (stop == end) return nullptr;
  if ((*stop != '.' && *stop != ',') || stop + 1 == end)
    return "is not a time in epoch seconds or milliseconds";
  std::int64_t place = unit;
  for (const char* at = stop + 1; at != end; ++at) {
    if (*at < '0' || *at > '9') return "is not a time in epoch seconds or milliseconds";
    place /= 10;
    if (place == 0 && *at != '0') return kTooFine;
    us += place * (*at - '0');
  }
  return nullptr;
}

// Converts days since 1899-12-30 with a fraction, to the millisecond. Spreadsheets write few decimals, so the
// text is read as a whole second if it can mean one.
const char* ReadExcel(std::string_view text, microseconds& us) {
  constexpr double kMost = 2'958'466;  // the end of 9999
  if (text.find_first_not_of("0123456789.,") != text.npos) return kNotExcel;
  std::string digits(text);
  std::replace(digits.begin(), digits.end(), ',', '.');
  double count = 0;
  const auto [stop, error] = std::from_chars(digits.data(), digits.data() + digits.size(), count);
  if (error != std::errc() || stop != digits.data() + digits.size() || count >= kMost) return kNotExcel;
  const std::size_t point = std::min(digits.find('.'), digits.size() - 1);
  const double half_digit = 43'200'000 * std::pow(10, -static_cast<double>(digits.size() - 1 - point));
  const double exact = count * 86'400'000, second = std::round(exact / 1000) * 1000;
  const double ms = std::abs(exact - second) <= half_digit ? second : exact;
  us = sys_days(year(1899) / 12 / 30).time_since_epoch() + milliseconds(std::llround(ms));
  return nullptr;
}

// Whether a number is a plausible instant in this unit, of the years 1973 to 5138.
bool LooksLikeEpoch(std::string_view text, Kind kind) {
  std::int64_t us = 0;
  const bool seconds = kind == Kind::EpochSeconds;
  if (ReadEpoch(text, seconds ? 1'000'000 : 1'000, us) != nullptr) return false;
  return us >= 100'000'000'000'000 && us < 100'000'000'000'000'000;
}

const char* ReadPattern(const std::string& pattern, std::string_view text, WrittenTime& written) {
  std::istringstream in{std::string(text)};
  date::local_time<microseconds> local;
  minutes offset(0);
  std::string zone;
  if (!date::from_stream(in, pattern.c_str(), local, &zone, &offset))
    return "is not a time of the format given";
  if (in.peek() != std::istringstream::traits_type::eof())
    return "continues after a time in the format given";
  written.local = std::chrono::local_time<microseconds>(local.time_since_epoch());
  if (pattern.find("%z") != pattern.npos || pattern.find("%Ez") != pattern.npos) written.offset = offset;
  return nullptr;
}

bool Matches(std::string_view text, Kind kind) {
  if (kind == Kind::Excel) return false;
  if (IsEpoch(kind)) return LooksLikeEpoch(text, kind);
  WrittenTime written;
  return ReadWrittenTime(text, kind, written) == nullptr;
}

std::string ChangeOfClocks(Zone::Kind kind, const Zone& zone) {
  return std::string(kind == Zone::Kind::Skipped ? "does not exist" : "exists twice") + " in " + zone.name() +
         (kind == Zone::Kind::Skipped ? ", whose clocks are set forward there"
                                      : ", whose clocks are set back there") +
         "; if the file keeps one time all year, name it by its offset (--zone +01:00)";
}

}  // namespace

std::string NameOf(const TimeFormat& format) {
  for (const Named& named : kKinds) {
    if (named.kind == format.kind) return named.name;
  }
  return format.pattern;
}

TimeFormat TimeFormatNamed(const std::string& name) {
  for (const Named& named : kKinds) {
    if (named.name == name) return {named.kind, {}};
  }
  if (name.find('%') != name.npos) return {Kind::Pattern, name};
  throw Refusal(
      "--time-format: " + Quote(name) +
      " is neither iso, german, us, eu, ymd, month-name, epoch, epoch-ms, excel nor a pattern such as \"%d.%m.%Y %H:%M\"");
}

std::vector<TimeFormat> FormatsOf(const std::vector<std::string>& texts) {
  std::vector<TimeFormat> formats;
  for (const Named& named : kKinds) {
    const auto matches = [&](const std::string& text) { return Matches(Trim(text), named.kind); };
    if (std::all_of(texts.begin(), texts.end(), matches)) formats.push_back({named.kind, {}});
  }
  return formats;
}

bool IsTime(std::string_view text) {
  return std::any_of(kKinds.begin(), kKinds.end(),
                     [&](const Named& named) { return Matches(Trim(text), named.kind); });
}

bool IsDate(std::string_view text) {
  return std::any_of(kKinds.begin(), kKinds.end(), [&](const Named& named) {
    std::string_view rest = Trim(text);
    year_month_day date;
    return !IsEpoch(named.kind) && TakeDate(rest, named.kind, date) && rest.empty();
  });
}

bool IsClock(std::string_view text) {
  text = Trim(text);
  microseconds clock;
  bool finer = false;
  return TakeClock(text, clock, finer) && text.empty();
}

bool MayBeExcel(std::string_view text) {
  microseconds us(0);
  return ReadExcel(Trim(text), us) == nullptr && us >= sys_days(year(1982) / 1 / 1).time_since_epoch() &&
         us < sys_days(year(2120) / 1 / 1).time_since_epoch();
}

bool TimeReader::Read(std::string_view text, Time& time, std::string& problem) const {
  text = Trim(text);
  WrittenTime written;
  std::int64_t us = 0;
  const char* wrong = nullptr;
  if (IsEpoch(format_.kind)) {
    wrong = ReadEpoch(text, format_.kind == Kind::EpochSeconds ? 1'000'000 : 1'000, us);
    written = {std::chrono::local_time<microseconds>(microseconds(us)), minutes(0)};
  } else if (format_.kind == Kind::Excel) {
    microseconds local(0);
    wrong = ReadExcel(text, local);
    written.local = std::chrono::local_time<microseconds>(local);
  } else {
    wrong = format_.kind == Kind::Pattern ? ReadPattern(format_.pattern, text, written)
                                          : ReadWrittenTime(text, format_.kind, written);
  }
  if (wrong == nullptr && !truncate_ &&
      written.local.time_since_epoch() % milliseconds(1) != microseconds(0)) {
    wrong = kTooFine;
  }
  if (wrong != nullptr) {
    problem = text.empty() ? "is empty, where a time should be" : wrong;
    return false;
  }
  const auto local = floor<milliseconds>(written.local);
  if (written.offset) {
    time = Time(local.time_since_epoch() - *written.offset);
  } else {
    const Zone::Instant instant = zone_->ToInstant(local);
    if (instant.kind != Zone::Kind::Unique) {
      problem = ChangeOfClocks(instant.kind, *zone_);
      return false;
    }
    time = instant.time;
  }
  if (time.time_since_epoch().count() > 0) return true;
  problem = "is before 1970, where the store begins";
  return false;
}

Time ReadTimeArgument(const std::string& option, const std::string& text, const Zone& zone,
                      std::optional<Time> end) {
  const Time now = time_point_cast<milliseconds>(system_clock::now());
  if (text == "now") return now;
  constexpr std::string_view kUnits = "smhdwy";
  constexpr std::array<int, 6> kSeconds = {1, 60, 3600, 86'400, 7 * 86'400, 365 * 86'400};
  std::int64_t count = 0;
  const auto [stop, error] = std::from_chars(text.data(), text.data() + text.size(), count);
  if (error == std::errc() && stop + 1 == text.data() + text.size() && count >= 0 && count < 1'000'000 &&
      kUnits.find(*stop) != kUnits.npos) {
    return end.value_or(now) - seconds(count * kSeconds[kUnits.find(*stop)]);
  }
  Time time;
  std::string problem;
  if (TimeReader({Kind::Iso, {}}, zone, true).Read(text, time, problem)) return time;
  throw Refusal(option + ": " + Quote(text) + ' ' + problem +
                "; write 2026-11-21, \"2026-11-21 20:40\", 24h or 7d (that long ago), or now");
}

}  // namespace historian::command
