#pragma once

#include <DbmsAPI/HistoryTypes.h>

#include <cstdint>
#include <optional>
#include <string>

namespace plant {

// How this program fills the codes of an alarm, which belong to the client.
constexpr std::int16_t kAlarmOccurred = 0;  // its status
constexpr std::int16_t kAlarmCleared = 1;
constexpr std::int16_t kHighLimit = 1;  // its type
constexpr std::int16_t kAlarmLevel = 1;
constexpr std::int16_t kAlarmZone = 0;

// Watches a tag's samples for their limit. The alarm occurs with the first sample above the limit and clears
// with the next that is not; a sample without a value changes nothing.
class AlarmWatch {
 public:
  // Without a limit there is no alarm.
  AlarmWatch(std::wstring tag, std::optional<double> limit);

  // Takes the samples in the order of their times; gives the change of state that one brings. A value of
  // DBL_MAX is none.
  std::optional<AlarmRecord> Add(std::int64_t time_ms, double value);

  std::optional<double> limit() const { return limit_; }
  std::uint64_t occurred() const { return occurred_; }
  std::uint64_t cleared() const { return cleared_; }

  // When the alarm occurred that has not cleared yet.
  std::optional<std::int64_t> standing_ms() const { return standing_ms_; }

  // The longest of the alarms that have cleared, the first of several; meaningful when there is one.
  std::int64_t longest_ms() const { return longest_ms_; }
  std::int64_t longest_from_ms() const { return longest_from_ms_; }

 private:
  AlarmRecord Record(std::int64_t time_ms, double value) const;

  std::wstring tag_;
  std::wstring label_;
  std::optional<double> limit_;
  std::optional<std::int64_t> standing_ms_;
  std::uint64_t occurred_ = 0;
  std::uint64_t cleared_ = 0;
  std::int64_t longest_ms_ = 0;
  std::int64_t longest_from_ms_ = 0;
};

// The record as a query gives it: the library cuts instants to milliseconds, which in some years makes them
// one less than they were.
AlarmRecord AsRead(AlarmRecord alarm);

// Tells the first field in which two records of the same tag, instant and status differ; nothing when there
// is none.
std::string DifferenceOf(const AlarmRecord& written, const AlarmRecord& stored);

}  // namespace plant
