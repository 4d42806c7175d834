#include "Hours.h"

#include <algorithm>
#include <cfloat>
#include <utility>

#include "Difference.h"
#include "Time.h"

namespace plant {
namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kMinute = 60;

using Row = ReportAnalogData;

constexpr std::pair<const char*, double Row::*> kFigures[] = {
    {"sum", &Row::sum},           {"avg", &Row::avg},           {"diff", &Row::diff},
    {"first", &Row::first},       {"last", &Row::last},         {"min", &Row::min},
    {"max", &Row::max},           {"diff_sum", &Row::diff_sum}, {"diff_avg", &Row::diff_avg},
    {"diff_min", &Row::diff_min}, {"diff_max", &Row::diff_max}};

constexpr std::pair<const char*, std::int64_t Row::*> kInstants[] = {{"min_time", &Row::min_time},
                                                                     {"max_time", &Row::max_time},
                                                                     {"diff_min_time", &Row::diff_min_time},
                                                                     {"diff_max_time", &Row::diff_max_time}};

// What is past the largest double is stored as that: figures of a report are numbers.
double Stored(long double figure) {
  return static_cast<double>(std::clamp<long double>(figure, -DBL_MAX, DBL_MAX));
}

}  // namespace

void HourStatistics::Begin(std::int64_t second, double value) {
  row_.emplace();
  row_->time = second / kHour * kHour;
  row_->tag_name = tag_;
  row_->first = row_->min = row_->max = value;
  row_->min_time = row_->max_time = second;
  sum_ = diff_sum_ = 0;
  minutes_ = 0;
  BeginMinute(second, value);
}

void HourStatistics::BeginMinute(std::int64_t second, double value) {
  minute_ = second / kMinute * kMinute;
  minute_first_ = value;
}

void HourStatistics::EndMinute() {
  const long double diff = static_cast<long double>(row_->last) - minute_first_;
  diff_sum_ += diff;
  const double stored = Stored(diff);
  if (++minutes_ == 1 || stored < row_->diff_min) {
    row_->diff_min = stored;
    row_->diff_min_time = minute_;
  }
  if (minutes_ == 1 || stored > row_->diff_max) {
    row_->diff_max = stored;
    row_->diff_max_time = minute_;
  }
}

void HourStatistics::Take(std::int64_t second, double value) {
  ++row_->count;
  sum_ += value;
  row_->last = value;
  if (value < row_->min) {
    row_->min = value;
    row_->min_time = second;
  }
  if (value > row_->max) {
    row_->max = value;
    row_->max_time = second;
  }
}

std::optional<ReportAnalogData> HourStatistics::Add(std::int64_t time_ms, double value) {
  if (value == DBL_MAX) return {};
  const std::int64_t second = time_ms / 1000;
  std::optional<ReportAnalogData> before;
  if (row_ && second / kHour * kHour != row_->time) before = Finish();
  if (!row_) {
    Begin(second, value);
  } else if (second / kMinute * kMinute != minute_) {
    EndMinute();
    BeginMinute(second, value);
  }
  Take(second, value);
  return before;
}

std::optional<ReportAnalogData> HourStatistics::Finish() {
  if (!row_) return {};
  EndMinute();
  row_->sum = Stored(sum_);
  row_->avg = Stored(sum_ / row_->count);
  row_->diff = Stored(static_cast<long double>(row_->last) - row_->first);
  row_->diff_sum = Stored(diff_sum_);
  row_->diff_avg = Stored(diff_sum_ / minutes_);
  return std::exchange(row_, std::nullopt);
}

std::string DifferenceOf(const ReportAnalogData& written, const ReportAnalogData& stored) {
  if (written.count != stored.count) {
    return Difference("count", std::to_string(written.count), std::to_string(stored.count));
  }
  for (const auto& [name, figure] : kFigures) {
    if (written.*figure != stored.*figure) {
      return Difference(name, Exact(written.*figure), Exact(stored.*figure));
    }
  }
  for (const auto& [name, instant] : kInstants) {
    if (written.*instant != stored.*instant) {
      return Difference(name, FormatTime(written.*instant * 1000), FormatTime(stored.*instant * 1000));
    }
  }
  return {};
}

void HourSummary::Add(const ReportAnalogData& row) {
  const bool first = hours_++ == 0;
  if (first || row.avg < lowest_.mean) lowest_ = {row.avg, row.time};
  if (first || row.avg > highest_.mean) highest_ = {row.avg, row.time};
  samples_ += static_cast<std::uint64_t>(row.count);
  sum_ += row.sum;
}

double HourSummary::Mean() const { return Stored(sum_ / static_cast<long double>(samples_)); }

}  // namespace plant
