#include "AlarmWatch.h"

#include <cfloat>
#include <utility>

#include "Difference.h"
#include "Text.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::pair<const char*, std::int16_t AlarmRecord::*> kCodes[] = {
    {"type", &AlarmRecord::type}, {"level", &AlarmRecord::level}, {"zone", &AlarmRecord::zone}};

constexpr std::pair<const char*, std::int64_t AlarmRecord::*> kInstants[] = {
    {"occurrence", &AlarmRecord::occTimeMs}, {"clearing", &AlarmRecord::freeTimeMs}};

std::string Instant(std::int64_t time_ms) { return time_ms > 0 ? FormatTime(time_ms) : "none"; }

// What an instant becomes on its way through the database: seconds there, cut to milliseconds again.
std::int64_t Cut(std::int64_t time_ms) {
  return static_cast<std::int64_t>(static_cast<double>(time_ms) / 1000.0 * 1000);
}

}  // namespace

AlarmWatch::AlarmWatch(std::wstring tag, std::optional<double> limit) : tag_(std::move(tag)), limit_(limit) {
  if (limit) label_ = Widen("above its limit of " + FormatValue(*limit));
}

AlarmRecord AlarmWatch::Record(std::int64_t time_ms, double value) const {
  AlarmRecord alarm;
  alarm.timeMs = time_ms;
  alarm.tagName = tag_;
  alarm.value = value;
  alarm.label = label_;
  alarm.status = kAlarmOccurred;
  alarm.type = kHighLimit;
  alarm.level = kAlarmLevel;
  alarm.zone = kAlarmZone;
  alarm.occTimeMs = standing_ms_.value_or(time_ms);
  return alarm;
}

std::optional<AlarmRecord> AlarmWatch::Add(std::int64_t time_ms, double value) {
  if (!limit_ || value == DBL_MAX || (value > *limit_) == standing_ms_.has_value()) return {};
  AlarmRecord alarm = Record(time_ms, value);
  if (!standing_ms_) {
    ++occurred_;
    standing_ms_ = time_ms;
    return alarm;
  }
  alarm.status = kAlarmCleared;
  alarm.freeTimeMs = time_ms;
  if (++cleared_ == 1 || time_ms - *standing_ms_ > longest_ms_) {
    longest_ms_ = time_ms - *standing_ms_;
    longest_from_ms_ = *standing_ms_;
  }
  standing_ms_.reset();
  return alarm;
}

AlarmRecord AsRead(AlarmRecord alarm) {
  for (std::int64_t* time : {&alarm.timeMs, &alarm.occTimeMs, &alarm.freeTimeMs}) *time = Cut(*time);
  return alarm;
}

std::string DifferenceOf(const AlarmRecord& written, const AlarmRecord& stored) {
  if (written.value != stored.value) return Difference("value", Exact(written.value), Exact(stored.value));
  if (written.label != stored.label) return Difference("label", Narrow(written.label), Narrow(stored.label));
  for (const auto& [name, code] : kCodes) {
    if (written.*code != stored.*code) {
      return Difference(name, std::to_string(written.*code), std::to_string(stored.*code));
    }
  }
  for (const auto& [name, instant] : kInstants) {
    if (written.*instant != stored.*instant) {
      return Difference(name, Instant(written.*instant), Instant(stored.*instant));
    }
  }
  return {};
}

}  // namespace plant
