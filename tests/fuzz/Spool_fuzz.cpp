// The spool: records are read as they were written, any bytes are read as records or refused, and a damaged
// file gives no record that was not written.

#include <fstream>
#include <sstream>

#include "Fuzz.h"
#include "historian/Error.h"
#include "historian/recorder/GenuineSamples.h"
#include "historian/recorder/Spool.h"
#include "historian/recorder/SpoolDirectory.h"
#include "port/Utf8.h"

using namespace historian;
using namespace historian::recorder;

namespace {

constexpr GenuineSamples kSamples(20, 50);

// Reads records as long as there are any; writing each one again must give the bytes that it was read from.
template <class Take, class Text>
void RequireRecords(std::string_view bytes, Take take, Text text) {
  for (;;) {
    const std::string_view before = bytes;
    const auto record = take(bytes);
    if (!record) {
      REQUIRE(bytes == before);
      return;
    }
    REQUIRE(bytes.size() < before.size());
    REQUIRE(text(*record) == before.substr(0, before.size() - bytes.size()));
  }
}

template <class Record>
std::string Written(const Record& record) {
  std::string bytes;
  AppendRecord(bytes, record);
  return bytes;
}

// Any record that was read, written and read again is the same.
template <class Take>
void RequireRewritten(std::string_view bytes, Take take) {
  while (const auto record = take(bytes)) {
    const std::string written = Written(*record);
    std::string_view rest = written;
    const auto again = take(rest);
    REQUIRE(again && rest.empty() && Written(*again) == written);
  }
}

void RequireBlocks(std::string_view bytes, std::size_t count) {
  // A tag that is not UTF-8 is kept unchanged, so it is compared by its bytes.
  RequireRecords(bytes, TakeSample, [](const SampleView& sample) {
    std::string text = Written(LogSample{sample.timeMs, L"", sample.value});
    text.resize(text.size() - sizeof(std::uint32_t));
    const auto length = static_cast<std::uint32_t>(sample.tagName.size());
    text.append(reinterpret_cast<const char*>(&length), sizeof length);
    return text.append(sample.tagName);
  });
  RequireRewritten(bytes, TakeAlarm);
  RequireRewritten(bytes, TakeLog);
  for (int kind = 0; kind < kKinds; ++kind) {
    const auto records = SplitRecords(static_cast<Kind>(kind), bytes, count);
    if (!records) continue;
    REQUIRE(records->size() == count);
    std::string joined;
    for (const std::string_view record : *records) {
      joined += record;
      REQUIRE(Describe(static_cast<Kind>(kind), record) != "damaged");
    }
    REQUIRE(joined == bytes);
  }
}

void RequireRoundTrip(fuzz::Input& input) {
  AlarmRecord alarm;
  alarm.timeMs = input.Take<std::int64_t>();
  alarm.status = input.Take<std::int16_t>();
  alarm.zone = input.Take<std::int16_t>();
  alarm.tagName = sys::FromUtf8(input.Bytes(input.Below(40)));
  alarm.label = sys::FromUtf8(input.Bytes(input.Below(40)));
  SystemLogRecord log;
  log.time = alarm.timeMs;
  log.type = input.Take<std::int32_t>();
  log.user_id = alarm.label;
  log.message = alarm.tagName;
  const std::string alarms = Written(alarm) + Written(alarm), logs = Written(log);
  std::string_view rest = alarms;
  for (int i = 0; i < 2; ++i) {
    const auto read = TakeAlarm(rest);
    REQUIRE(read && Written(*read) == Written(alarm) && read->label == alarm.label);
  }
  REQUIRE(rest.empty() && SplitRecords(Kind::Alarm, alarms, 2) && !SplitRecords(Kind::Alarm, alarms, 1));
  rest = logs;
  const auto read = TakeLog(rest);
  REQUIRE(read && rest.empty() && read->message == log.message && Written(*read) == logs);
}

Spool Open(const SpoolDirectory& directory) {
  return Spool(directory.File(), Syncing::AtCheckpoints, {1 << 30, false});
}

// The bytes of a closed spool with the samples.
const std::string& SoundFile() {
  static const std::string bytes = [] {
    const SpoolDirectory directory;
    {
      Spool spool = Open(directory);
      REQUIRE(kSamples.AppendTo(spool));
    }
    std::ifstream in(directory.File(), std::ios::binary);
    return (std::ostringstream() << in.rdbuf()).str();
  }();
  return bytes;
}

void RequireGenuine(Spool& spool) {
  Drain(spool, [](const SampleView& sample, bool isFirst) { REQUIRE(kSamples.Have(sample) && isFirst); });
  const auto [totals, waiting] = spool.Count();
  REQUIRE(totals.accepted == totals.Done() + waiting.records);
}

// Overwrites bytes of a sound file at places of the input's choice, and cuts it.
void RequireDamageLeavesGenuine(fuzz::Input& input) {
  std::string bytes = SoundFile();
  if (input.Below(4) == 0) bytes.resize(input.Take<std::uint32_t>() % (bytes.size() + 1));
  for (unsigned edits = input.Below(8); edits > 0 && !bytes.empty(); --edits) {
    bytes[input.Take<std::uint32_t>() % bytes.size()] = input.Take<char>();
  }
  const SpoolDirectory directory;
  std::ofstream(directory.File(), std::ios::binary) << bytes;
  try {
    Spool spool = Open(directory);
    RequireGenuine(spool);
  } catch (const Error& error) {
    REQUIRE(std::strlen(error.what()) > 0);
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const unsigned choice = input.Below(16);
  if (choice == 0) {
    RequireDamageLeavesGenuine(input);
  } else if (choice < 4) {
    RequireRoundTrip(input);
  } else {
    const std::size_t count = input.Below(8);
    RequireBlocks(input.Rest(), count);
  }
  return 0;
}
