#pragma once

// The format of records in the spool; docs/historian.md describes it for readers of the file.
//
// A block is a sequence of records of one kind. Numbers are little-endian, texts are UTF-8 after their length
// in 32 bits.
//
//   sample      time i64, value f64, tag
//   alarm       time i64, value f64, status i16, type i16, level i16, zone i16, occurred i64, cleared i64,
//   tag, label log record  time i64, node i16, module i16, level i16, type i32, user, message

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"
#include "DbmsAPI/RecordTypes.h"

namespace historian::recorder {

enum class Kind : int { Sample = 0, Alarm = 1, Log = 2 };
constexpr int kKinds = 3;
constexpr std::size_t Index(Kind kind) { return static_cast<std::size_t>(kind); }

void AppendRecord(std::string& bytes, const LogSample& sample);
void AppendRecord(std::string& bytes, const AlarmRecord& alarm);
void AppendRecord(std::string& bytes, const SystemLogRecord& record);

// A sample in a block. The block must outlive it.
struct SampleView {
  std::int64_t timeMs = 0;
  double value = 0;
  std::string_view tagName;
};

// Take the first record off the bytes; no value when they do not begin with a whole record.
std::optional<SampleView> TakeSample(std::string_view& bytes);
std::optional<AlarmRecord> TakeAlarm(std::string_view& bytes);
std::optional<SystemLogRecord> TakeLog(std::string_view& bytes);

// Splits a block into its records; no value unless there are exactly `count`.
std::optional<std::vector<std::string_view>> SplitRecords(Kind kind, std::string_view bytes,
                                                          std::size_t count);

// A line of text that describes a record.
std::string Describe(Kind kind, std::string_view record);

// Finds every change within eight bytes, and any other with a probability of 1 - 2^-64.
std::int64_t Checksum(std::string_view bytes);

}  // namespace historian::recorder
