#pragma once

// Records of the report stores.

#include <cstdint>
#include <string>

// One text snapshot of a tag for a report page.
struct TagValueRecord {
  std::int64_t time = 0;   // epoch milliseconds
  std::wstring tag_name;   // empty: the record is skipped
  std::wstring tag_value;  // value as text
};

// One tag's statistics over one period, analog. Times are whole epoch seconds. The minute tables
// have no diff_... columns: there those fields are neither written nor filled.
struct ReportAnalogData {
  std::int64_t time = 0;  // start of the period
  std::wstring tag_name;
  std::int32_t count = 0;  // number of samples
  double sum = 0;
  double avg = 0;
  double diff = 0;
  double first = 0;
  double last = 0;
  double min = 0;
  std::int64_t min_time = 0;
  double max = 0;
  std::int64_t max_time = 0;
  double diff_sum = 0;
  double diff_avg = 0;
  double diff_min = 0;
  std::int64_t diff_min_time = 0;
  double diff_max = 0;
  std::int64_t diff_max_time = 0;
};

// One tag's statistics over one period, digital. Times are whole epoch seconds. The minute tables
// have no count_... columns: there those fields are neither written nor filled.
struct ReportDigitalData {
  std::int64_t time = 0;  // start of the period
  std::wstring tag_name;
  std::int32_t count = 0;
  std::int32_t uptime = 0;
  double uptime_avg = 0;
  std::int32_t uptime_min = 0;
  std::int64_t uptime_min_time = 0;
  std::int32_t uptime_max = 0;
  std::int64_t uptime_max_time = 0;
  double count_avg = 0;
  std::int32_t count_min = 0;
  std::int64_t count_min_time = 0;
  std::int32_t count_max = 0;
  std::int64_t count_max_time = 0;
};

// One captured cell of an event report.
struct EventReportCell {
  std::wstring cell;   // cell address within the sheet
  std::wstring value;  // captured text
};
