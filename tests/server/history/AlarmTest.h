#pragma once

#include <DbmsAPI/Dbms.h>

#include <algorithm>
#include <bit>
#include <tuple>

#include "server/history/HistoryTest.h"

// The time of the tests' alarms, in epoch seconds.
inline constexpr std::int64_t kStart = 1700000000;

// An alarm whose other fields do not matter.
inline AlarmRecord Alarm(std::int64_t timeMs, const wchar_t* tagName, double value = 0) {
  AlarmRecord alarm;
  alarm.timeMs = timeMs;
  alarm.tagName = tagName;
  alarm.value = value;
  return alarm;
}

// An empty table of alarms.
class AlarmTest : public HistoryTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(dbms->CreateAlarmTable(30)) << Error();
  }

  bool Insert(const AlarmRecord& a) {
    return dbms->InsertAlarm(a.timeMs, a.tagName.c_str(), a.value, a.label.c_str(), a.status, a.type, a.level,
                             a.zone, a.occTimeMs, a.freeTimeMs);
  }
  void InsertAll(const std::vector<AlarmRecord>& alarms) {
    for (const AlarmRecord& alarm : alarms) ASSERT_TRUE(Insert(alarm)) << Error();
  }

  // All fields of an alarm, the value by its bits.
  static auto Fields(const AlarmRecord& a) {
    return std::tuple(a.timeMs, a.tagName, std::bit_cast<std::uint64_t>(a.value), a.label, a.status, a.type,
                      a.level, a.zone, a.occTimeMs, a.freeTimeMs);
  }
  static void ExpectNewestFirst(const std::vector<AlarmRecord>& records, std::vector<AlarmRecord> alarms) {
    std::sort(alarms.begin(), alarms.end(), [](const auto& a, const auto& b) { return a.timeMs > b.timeMs; });
    ASSERT_EQ(records.size(), alarms.size());
    for (std::size_t i = 0; i < records.size(); ++i) EXPECT_EQ(Fields(records[i]), Fields(alarms[i])) << i;
  }
};
