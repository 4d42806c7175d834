#pragma once

#include <DbmsAPI/ReportTypes.h>

#include <cstdint>
#include <optional>
#include <string>

namespace plant {

// Makes the hour rows of one tag's report from its samples. Hours are those of UTC; one without a value has
// no row. A row's instants are whole seconds: of several samples that are the lowest or highest, the first's.
//
// `diff` is last - first. The diff_... statistics are of the same difference within each minute of the hour,
// and their instants the minutes' beginnings.
class HourStatistics {
 public:
  explicit HourStatistics(std::wstring tag) : tag_(std::move(tag)) {}

  // Takes the samples in the order of their times; a value of DBL_MAX is none. Gives the row of the hour
  // before, once a sample begins another.
  std::optional<ReportAnalogData> Add(std::int64_t time_ms, double value);

  // Gives the row of the last hour, if there is one.
  std::optional<ReportAnalogData> Finish();

 private:
  void Begin(std::int64_t second, double value);
  void BeginMinute(std::int64_t second, double value);
  void EndMinute();
  void Take(std::int64_t second, double value);

  std::wstring tag_;
  std::optional<ReportAnalogData> row_;  // of the hour that goes on
  long double sum_ = 0;
  long double diff_sum_ = 0;
  int minutes_ = 0;  // ended

  // Of the minute that goes on.
  std::int64_t minute_ = 0;
  double minute_first_ = 0;
};

// Tells the first figure in which two rows of the same tag and hour differ; nothing when there is none.
std::string DifferenceOf(const ReportAnalogData& written, const ReportAnalogData& stored);

// What the hours of one tag come to.
class HourSummary {
 public:
  struct Hour {
    double mean = 0;
    std::int64_t time = 0;
  };

  // Takes the rows in the order of their times.
  void Add(const ReportAnalogData& row);

  std::uint64_t hours() const { return hours_; }

  // Meaningful when there is an hour; of several alike the earliest counts.
  double Mean() const;  // of all samples
  const Hour& lowest() const { return lowest_; }
  const Hour& highest() const { return highest_; }

 private:
  std::uint64_t hours_ = 0;
  std::uint64_t samples_ = 0;
  long double sum_ = 0;
  Hour lowest_;
  Hour highest_;
};

}  // namespace plant
