#include "historian/recorder/Block.h"

#include <bit>
#include <cstring>
#include <type_traits>

#include "port/Utf8.h"

namespace historian::recorder {
namespace {

static_assert(std::endian::native == std::endian::little, "numbers lie in the spool as the machine has them");

// 64-bit FNV-1a, a word at a time. Since the multiplier is odd, every change of a single word changes the
// result.
constexpr std::uint64_t kChecksumStart = 0xcbf29ce484222325;
constexpr std::uint64_t kChecksumPrime = 0x100000001b3;

template <class Number>
void Put(std::string& bytes, Number number) {
  static_assert(std::is_arithmetic_v<Number>);
  char raw[sizeof number];
  std::memcpy(raw, &number, sizeof number);
  bytes.append(raw, sizeof number);
}

void PutText(std::string& bytes, const std::wstring& text) {
  const std::size_t at = bytes.size();
  Put(bytes, std::uint32_t{0});
  sys::AppendUtf8(bytes, text);
  const auto length = static_cast<std::uint32_t>(bytes.size() - at - sizeof(std::uint32_t));
  std::memcpy(bytes.data() + at, &length, sizeof length);
}

// Takes fields off the front. After a missing field, all further fields are missing too.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : rest_(bytes) {}

  template <class Number>
  ByteReader& Get(Number& number) {
    if (std::string_view raw; Take(sizeof number, raw)) std::memcpy(&number, raw.data(), sizeof number);
    return *this;
  }
  ByteReader& Get(std::string_view& text) {
    std::uint32_t length = 0;
    Get(length).Take(length, text);
    return *this;
  }
  ByteReader& Get(std::wstring& text) {
    std::string_view utf8;
    Get(utf8);
    text = sys::FromUtf8(utf8);
    return *this;
  }

  // Removes the fields from `bytes` if none was missing.
  bool Finish(std::string_view& bytes) const {
    if (whole_) bytes = rest_;
    return whole_;
  }

 private:
  bool Take(std::size_t count, std::string_view& taken) {
    whole_ = whole_ && count <= rest_.size();
    if (!whole_) return false;
    taken = rest_.substr(0, count);
    rest_.remove_prefix(count);
    return true;
  }

  std::string_view rest_;
  bool whole_ = true;
};

template <class Record>
std::optional<Record> IfWhole(const ByteReader& reader, std::string_view& bytes, Record record) {
  return reader.Finish(bytes) ? std::optional(std::move(record)) : std::nullopt;
}

bool Skip(Kind kind, std::string_view& bytes) {
  ByteReader reader(bytes);
  char numbers[40];
  std::string_view text;
  const auto skip = [&](std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) reader.Get(numbers[i]);
  };
  switch (kind) {
    case Kind::Sample:
      skip(16);
      reader.Get(text);
      break;
    case Kind::Alarm:
      skip(40);
      reader.Get(text).Get(text);
      break;
    case Kind::Log:
      skip(18);
      reader.Get(text).Get(text);
      break;
  }
  return reader.Finish(bytes);
}

}  // namespace

void AppendRecord(std::string& bytes, const LogSample& sample) {
  Put(bytes, sample.timeMs);
  Put(bytes, sample.value);
  PutText(bytes, sample.tagName);
}

void AppendRecord(std::string& bytes, const AlarmRecord& alarm) {
  Put(bytes, alarm.timeMs);
  Put(bytes, alarm.value);
  for (const std::int16_t code : {alarm.status, alarm.type, alarm.level, alarm.zone}) Put(bytes, code);
  Put(bytes, alarm.occTimeMs);
  Put(bytes, alarm.freeTimeMs);
  PutText(bytes, alarm.tagName);
  PutText(bytes, alarm.label);
}

void AppendRecord(std::string& bytes, const SystemLogRecord& record) {
  Put(bytes, record.time);
  for (const std::int16_t code : {record.node, record.module, record.level}) Put(bytes, code);
  Put(bytes, record.type);
  PutText(bytes, record.user_id);
  PutText(bytes, record.message);
}

std::optional<SampleView> TakeSample(std::string_view& bytes) {
  SampleView sample;
  ByteReader reader(bytes);
  reader.Get(sample.timeMs).Get(sample.value).Get(sample.tagName);
  return IfWhole(reader, bytes, sample);
}

std::optional<AlarmRecord> TakeAlarm(std::string_view& bytes) {
  AlarmRecord alarm;
  ByteReader reader(bytes);
  reader.Get(alarm.timeMs)
      .Get(alarm.value)
      .Get(alarm.status)
      .Get(alarm.type)
      .Get(alarm.level)
      .Get(alarm.zone);
  reader.Get(alarm.occTimeMs).Get(alarm.freeTimeMs).Get(alarm.tagName).Get(alarm.label);
  return IfWhole(reader, bytes, std::move(alarm));
}

std::optional<SystemLogRecord> TakeLog(std::string_view& bytes) {
  SystemLogRecord record;
  ByteReader reader(bytes);
  reader.Get(record.time).Get(record.node).Get(record.module).Get(record.level).Get(record.type);
  reader.Get(record.user_id).Get(record.message);
  return IfWhole(reader, bytes, std::move(record));
}

std::optional<std::vector<std::string_view>> SplitRecords(Kind kind, std::string_view bytes,
                                                          std::size_t count) {
  std::vector<std::string_view> records;
  while (!bytes.empty()) {
    const std::string_view from = bytes;
    if (records.size() == count || !Skip(kind, bytes)) return std::nullopt;
    records.push_back(from.substr(0, from.size() - bytes.size()));
  }
  if (records.size() != count) return std::nullopt;
  return records;
}

std::string Describe(Kind kind, std::string_view record) {
  switch (kind) {
    case Kind::Sample:
      if (const auto sample = TakeSample(record)) {
        return "sample of " + std::string(sample->tagName) + " at " + std::to_string(sample->timeMs) +
               " ms: " + std::to_string(sample->value);
      }
      break;
    case Kind::Alarm:
      if (const auto alarm = TakeAlarm(record)) {
        return "alarm of " + sys::ToUtf8(alarm->tagName) + " at " + std::to_string(alarm->timeMs) +
               " ms: status " + std::to_string(alarm->status) + ", " + sys::ToUtf8(alarm->label);
      }
      break;
    case Kind::Log:
      if (const auto log = TakeLog(record)) {
        return "log record of node " + std::to_string(log->node) + " at " + std::to_string(log->time) +
               " ms: " + sys::ToUtf8(log->message);
      }
      break;
  }
  return "damaged";
}

std::int64_t Checksum(std::string_view bytes) {
  std::uint64_t sum = kChecksumStart ^ bytes.size();
  while (!bytes.empty()) {
    std::uint64_t word = 0;
    const std::size_t count = bytes.size() < sizeof word ? bytes.size() : sizeof word;
    std::memcpy(&word, bytes.data(), count);
    sum = (sum ^ word) * kChecksumPrime;
    sum ^= sum >> 32;
    bytes.remove_prefix(count);
  }
  return static_cast<std::int64_t>(sum);
}

}  // namespace historian::recorder
