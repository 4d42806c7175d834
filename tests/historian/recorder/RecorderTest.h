#pragma once

#include <algorithm>
#include <chrono>
#include <condition_variable>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

#include "DbmsAPI/Diagnostics.h"
#include "historian/HistorianTest.h"
#include "historian/Recorder.h"
#include "historian/recorder/SpoolDirectory.h"

namespace historian {

constexpr std::chrono::minutes kLongEnough{2};
constexpr std::int64_t kFirstMs = 1700000000000;

// Samples of one tag, a millisecond apart, each with a different value.
inline std::vector<LogSample> Samples(std::int64_t first, std::int64_t count,
                                      const std::wstring& tag = L"PUMP.SPEED") {
  std::vector<LogSample> samples;
  for (std::int64_t i = first; i < first + count; ++i) {
    samples.push_back({kFirstMs + i, tag, static_cast<double>(i) + 0.25});
  }
  return samples;
}

inline AlarmRecord AnAlarm(std::int64_t number, const std::wstring& label = L"too hot") {
  return {kFirstMs + number, L"BOILER.TEMP", 1.5, label, 1, 2, 3, 4, kFirstMs + number, 0};
}

inline SystemLogRecord ALogRecord(std::int64_t number, const std::wstring& message = L"started") {
  return {kFirstMs + number, 1, 2, 3, 4, L"operator", message};
}

// Collects events; the recorder's threads add to it.
class EventLog {
 public:
  void Add(const RecorderEvent& event) {
    const std::lock_guard lock(mutex_);
    events_.push_back(event);
    changed_.notify_all();
  }
  // Waits for an event; earlier ones count.
  bool WaitFor(RecorderState state, const std::string& sqlState) {
    return WaitUntil([&](const RecorderEvent& e) { return e.state == state && e.sqlState == sqlState; });
  }
  bool WaitFor(RecorderState state) {
    return WaitUntil([&](const RecorderEvent& e) { return e.state == state; });
  }
  std::vector<RecorderEvent> All() const {
    const std::lock_guard lock(mutex_);
    return events_;
  }
  void Clear() {
    const std::lock_guard lock(mutex_);
    events_.clear();
  }

 private:
  template <class Wanted>
  bool WaitUntil(Wanted wanted) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, kLongEnough, [&] {
      return std::find_if(events_.begin(), events_.end(), wanted) != events_.end();
    });
  }

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<RecorderEvent> events_;
};

// A recorder that has its own database, spool and object; its pauses are short.
class RecorderTest : public HistorianTest {
 protected:
  void SetUp() override {
    SetDbmsDebugSink([](const wchar_t*) {});  // many of these tests cause failures
    ASSERT_NO_FATAL_FAILURE(HistorianTest::SetUp());
    ASSERT_TRUE(dbms->CreateAlarmTable(0)) << dbms->GetLastError();
    Run("create table if not exists system_log (time timestamptz not null,node int2 not null,"
        "module int2 not null,level int2 not null,type int not null,user_id text,message text not null,"
        "primary key (time,node,message))");
  }

  void TearDown() override {
    HistorianTest::TearDown();
    SetDbmsDebugSink({});
  }

  RecorderOptions Options() {
    RecorderOptions options;
    options.spool = directory.File();
    options.firstPause = std::chrono::milliseconds(10);
    options.longestPause = std::chrono::milliseconds(200);
    options.refusedPause = std::chrono::milliseconds(50);
    options.onEvent = [this](const RecorderEvent& event) { events.Add(event); };
    return options;
  }

  // Waits until everything is stored, then checks the counts.
  static void ExpectAllSettled(const Recorder& recorder) {
    ASSERT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
    ExpectTrueCounts(recorder.Report());
  }
  static void ExpectTrueCounts(const RecorderReport& r) {
    EXPECT_EQ(r.accepted, r.stored + r.duplicates + r.setAside + r.dropped + r.waiting);
  }

  // The rows of tag history: epoch milliseconds, tag, value.
  std::vector<std::string> History() {
    return Rows(
        "select (extract(epoch from time) * 1000)::bigint, tag_name, value from datalog order by 1, 2");
  }
  // The same as the samples make them.
  static std::vector<std::string> Lines(const std::vector<LogSample>& samples) {
    std::vector<std::pair<std::int64_t, std::string>> lines;
    for (const LogSample& s : samples) {
      char value[64];
      std::snprintf(value, sizeof value, "%.10g", s.value);
      lines.emplace_back(s.timeMs, std::string(s.tagName.begin(), s.tagName.end()) + "|" + value);
    }
    std::sort(lines.begin(), lines.end());
    std::vector<std::string> texts;
    for (const auto& [time, rest] : lines) texts.push_back(std::to_string(time) + "|" + rest);
    return texts;
  }

  SpoolDirectory directory;
  EventLog events;
};

}  // namespace historian
