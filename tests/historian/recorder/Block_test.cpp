#include "historian/recorder/Block.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <tuple>

namespace historian::recorder {
namespace {

TEST(Block, GivesASampleBack) {
  std::string bytes;
  AppendRecord(bytes, LogSample{1700000000123, L"PÜMP\0X\U0001F525", DBL_MAX});
  AppendRecord(bytes, LogSample{-1, L"", -0.5});
  std::string_view rest = bytes;
  const auto first = TakeSample(rest);
  const auto second = TakeSample(rest);
  ASSERT_TRUE(first && second);
  EXPECT_EQ(first->timeMs, 1700000000123);
  EXPECT_EQ(first->value, DBL_MAX);
  EXPECT_EQ(first->tagName, "P\xC3\x9CMP");
  EXPECT_EQ(second->timeMs, -1);
  EXPECT_EQ(second->tagName, "");
  EXPECT_TRUE(rest.empty());
}

TEST(Block, LiesInTheFileAsDocumented) {
  std::string bytes;
  AppendRecord(bytes, LogSample{0x0102030405060708, L"AB", 1.0});
  EXPECT_EQ(bytes, std::string("\x08\x07\x06\x05\x04\x03\x02\x01"
                               "\0\0\0\0\0\0\xF0\x3F"
                               "\x02\0\0\0AB",
                               22));
}

TEST(Block, GivesAlarmsAndLogRecordsBack) {
  const AlarmRecord alarm{1, L"TAG", 2.5, L"label", -1, 2, -3, 4, 5, -6};
  const SystemLogRecord log{7, -8, 9, -10, -11, L"user", std::wstring(L"a\0b", 3)};
  std::string alarms, logs;
  AppendRecord(alarms, alarm);
  AppendRecord(logs, log);
  std::string_view rest = alarms;
  const AlarmRecord a = TakeAlarm(rest).value();
  EXPECT_EQ(std::tie(a.timeMs, a.tagName, a.value, a.label, a.status, a.type, a.level, a.zone, a.occTimeMs,
                     a.freeTimeMs),
            std::tie(alarm.timeMs, alarm.tagName, alarm.value, alarm.label, alarm.status, alarm.type,
                     alarm.level, alarm.zone, alarm.occTimeMs, alarm.freeTimeMs));
  rest = logs;
  const SystemLogRecord l = TakeLog(rest).value();
  EXPECT_EQ(std::tie(l.time, l.node, l.module, l.level, l.type, l.user_id, l.message),
            std::tie(log.time, log.node, log.module, log.level, log.type, log.user_id, log.message));
}

TEST(Block, IsSplitIntoItsRecords) {
  std::string samples, alarms, logs;
  for (int i = 0; i < 3; ++i) {
    AppendRecord(samples, LogSample{i, std::wstring(static_cast<std::size_t>(i), L'x'), 1});
    AppendRecord(alarms, AlarmRecord{i, L"t", 1, L"l", 0, 0, 0, 0, 0, 0});
    AppendRecord(logs, SystemLogRecord{i, 0, 0, 0, 0, L"u", L"m"});
  }
  EXPECT_EQ(SplitRecords(Kind::Sample, samples, 3)->size(), 3u);
  EXPECT_EQ(SplitRecords(Kind::Alarm, alarms, 3)->size(), 3u);
  EXPECT_EQ(SplitRecords(Kind::Log, logs, 3)->size(), 3u);
  EXPECT_EQ(SplitRecords(Kind::Sample, samples, 3)->at(1).size(), 21u);
  EXPECT_FALSE(SplitRecords(Kind::Sample, samples, 2));
  EXPECT_FALSE(SplitRecords(Kind::Sample, samples, 4));
  EXPECT_FALSE(SplitRecords(Kind::Sample, std::string_view(samples).substr(1), 3));
}

TEST(Block, IsNotReadPastItsEnd) {
  std::string bytes;
  AppendRecord(bytes, AlarmRecord{1, L"TAG", 2.5, L"label", 1, 2, 3, 4, 5, 6});
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    const std::string_view whole = std::string_view(bytes).substr(0, length);
    std::string_view rest = whole;
    EXPECT_FALSE(TakeAlarm(rest)) << length;
    EXPECT_EQ(rest, whole);
    EXPECT_FALSE(SplitRecords(Kind::Alarm, rest, 1)) << length;
  }
}

TEST(Block, HasAChecksumThatEveryFlippedBitChanges) {
  std::string bytes;
  for (int i = 0; i < 20; ++i) AppendRecord(bytes, LogSample{i, L"PUMP", static_cast<double>(i)});
  const std::int64_t sum = Checksum(bytes);
  for (std::size_t bit = 0; bit < bytes.size() * 8; ++bit) {
    std::string flipped = bytes;
    flipped[bit / 8] = static_cast<char>(flipped[bit / 8] ^ (1 << bit % 8));
    EXPECT_NE(Checksum(flipped), sum) << bit;
  }
  EXPECT_NE(Checksum(bytes + '\0'), sum);
  EXPECT_NE(Checksum(std::string_view(bytes).substr(1)), sum);
}

TEST(Block, IsDescribedForPeople) {
  std::string bytes;
  AppendRecord(bytes, LogSample{12, L"PUMP", 1.5});
  EXPECT_EQ(Describe(Kind::Sample, bytes), "sample of PUMP at 12 ms: 1.500000");
  EXPECT_EQ(Describe(Kind::Sample, "?"), "damaged");
}

}  // namespace
}  // namespace historian::recorder
