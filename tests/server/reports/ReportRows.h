#pragma once

#include <DbmsAPI/ReportTypes.h>

#include <bit>
#include <tuple>

// All fields of a row, doubles by their bits: rows are equal when these are.

inline std::uint64_t Bits(double value) { return std::bit_cast<std::uint64_t>(value); }

inline auto Fields(const ReportAnalogData& r) {
  return std::make_tuple(r.time, r.tag_name, r.count, Bits(r.sum), Bits(r.avg), Bits(r.diff), Bits(r.first),
                         Bits(r.last), Bits(r.min), r.min_time, Bits(r.max), r.max_time, Bits(r.diff_sum),
                         Bits(r.diff_avg), Bits(r.diff_min), r.diff_min_time, Bits(r.diff_max),
                         r.diff_max_time);
}

inline auto Fields(const ReportDigitalData& r) {
  return std::make_tuple(r.time, r.tag_name, r.count, r.uptime, Bits(r.uptime_avg), r.uptime_min,
                         r.uptime_min_time, r.uptime_max, r.uptime_max_time, Bits(r.count_avg), r.count_min,
                         r.count_min_time, r.count_max, r.count_max_time);
}

// The part of a row that the minute tables keep.

inline ReportAnalogData MinuteOf(ReportAnalogData row) {
  row.diff_sum = row.diff_avg = row.diff_min = row.diff_max = 0;
  row.diff_min_time = row.diff_max_time = 0;
  return row;
}

inline ReportDigitalData MinuteOf(ReportDigitalData row) {
  row.count_avg = row.count_min = row.count_max = 0;
  row.count_min_time = row.count_max_time = 0;
  return row;
}
