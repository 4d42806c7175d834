#include <cmath>
#include <limits>

#include "server/Random.h"
#include "server/history/AlarmTest.h"

namespace {

using Alarms = AlarmTest;

TEST_F(Alarms, BothBoundsAreIncluded) {
  InsertAll({{kStart * 1000, L"A", 0, L"", 0, 0, 0, 0, 1, 0},
             {kStart * 1000 + 5000, L"A", 0, L"", 0, 0, 0, 0, 1, 0}});
  std::vector<AlarmRecord> records;
  EXPECT_TRUE(dbms->GetAllAlarmData(kStart, kStart + 5, records));
  EXPECT_EQ(records.size(), 2u);
  EXPECT_TRUE(dbms->GetAllAlarmData(kStart + 1, kStart + 4, records));
  EXPECT_EQ(records.size(), 2u);
  EXPECT_TRUE(dbms->GetAllAlarmData(kStart + 5, kStart + 5, records));
  EXPECT_EQ(records.size(), 3u);
}

TEST_F(Alarms, ADuplicateIsRefusedUnlessItsStatusDiffers) {
  AlarmRecord alarm = {kStart * 1000 + 123, L"PUMP.1", 1, L"high", 1, 2, 3, 4, 5, 6};
  ASSERT_TRUE(Insert(alarm));
  EXPECT_FALSE(Insert(alarm));
  EXPECT_TRUE(Holds(Error(), "duplicate key value violates unique constraint \\\"alarm_pkey\\\"")) << Error();
  alarm.status = 2;
  EXPECT_TRUE(Insert(alarm));
  EXPECT_EQ(Value("select count(*) from alarm"), "2");
}

TEST_F(Alarms, RandomAlarmsComeBackAsTheyWere) {
  Random random(42);
  std::vector<AlarmRecord> alarms;
  for (int i = 0; i < 400; ++i) {
    AlarmRecord alarm;
    alarm.timeMs = kStart * 1000 + i * 1001;
    alarm.tagName = Wide(random.Text(static_cast<std::size_t>(random.Between(1, 60))));
    alarm.value = random.Double();
    alarm.label = Wide(random.Text(static_cast<std::size_t>(random.Between(0, 200))));
    for (auto* code : {&alarm.status, &alarm.type, &alarm.level, &alarm.zone})
      *code = random.Any<std::int16_t>();
    alarm.occTimeMs = random.Between(1100000000000, 2147483647999);
    alarm.freeTimeMs = random.Between(0, 1) * random.Between(1100000000000, 2147483647999);
    alarms.push_back(std::move(alarm));
  }
  InsertAll(alarms);
  std::vector<AlarmRecord> records;
  ASSERT_TRUE(dbms->GetAllAlarmData(kStart, kStart + 1000, records)) << Error();
  ExpectNewestFirst(records, alarms);
}

// Keeps the sign of zero; all NaNs are equal.
std::string ShownValue(double value) { return std::isnan(value) ? "nan" : std::to_string(value); }

TEST_F(Alarms, ValuesThatAreNoNumbersComeBack) {
  const double infinity = std::numeric_limits<double>::infinity();
  for (const double value : {-0.0, infinity, -infinity, std::nan("")}) {
    Run("delete from alarm");
    ASSERT_TRUE(Insert(Alarm(kStart * 1000, L"A", value))) << Error();
    std::vector<AlarmRecord> records;
    ASSERT_TRUE(dbms->GetAllAlarmData(kStart, kStart, records)) << Error();
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(ShownValue(records[0].value), ShownValue(value));
  }
}

TEST_F(Alarms, EveryMillisecondOfToday) {
  std::vector<AlarmRecord> alarms;
  for (int ms = 0; ms < 1000; ++ms) alarms.push_back(Alarm(kStart * 1000 + ms, L"A", ms));
  InsertAll(alarms);
  std::vector<AlarmRecord> records;
  ASSERT_TRUE(dbms->GetAllAlarmData(kStart, kStart + 1, records));
  ExpectNewestFirst(records, alarms);
}

TEST_F(Alarms, KeepsTheMillisecondLostByCutting) {
  ASSERT_TRUE(Insert({1073741826991, L"A", 0, L"", 0, 0, 0, 0, 1023, 1}));
  EXPECT_EQ(
      Rows("select extract(epoch from time), extract(epoch from occ_time), extract(epoch from free_time) "
           "from alarm"),
      std::vector<std::string>{"1073741826.991000|1.023000|0.001000"});
  std::vector<AlarmRecord> records;
  ASSERT_TRUE(dbms->GetAllAlarmData(1073741826, 1073741827, records));
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].timeMs, 1073741826990);
  EXPECT_EQ(records[0].occTimeMs, 1022);
  EXPECT_EQ(records[0].freeTimeMs, 1);
}

TEST_F(Alarms, AnAlarmThatHasNotClearedHasNoFreeTime) {
  ASSERT_TRUE(Insert({kStart * 1000, L"A", 0, L"", 0, 0, 0, 0, 1, -5}));
  EXPECT_EQ(Rows("select free_time from alarm"), std::vector<std::string>{"\\N"});
}

TEST_F(Alarms, TheTableIsCreatedOnce) {
  ASSERT_TRUE(Insert(Alarm(kStart * 1000, L"A")));
  EXPECT_TRUE(dbms->CreateAlarmTable(0)) << Error();
  EXPECT_EQ(Value("select count(*) from alarm"), "1");
}

TEST_F(Alarms, InfiniteTimesOfAnotherWriter) {
  ASSERT_TRUE(Insert(Alarm(kStart * 1000, L"A")));
  Run("update alarm set occ_time = '-infinity', free_time = 'infinity'");
  std::vector<AlarmRecord> records;
  ASSERT_TRUE(dbms->GetAllAlarmData(kStart, kStart, records)) << Error();
  ASSERT_EQ(records.size(), 1u);
  EXPECT_EQ(records[0].occTimeMs, std::numeric_limits<std::int64_t>::min());
  EXPECT_EQ(records[0].freeTimeMs, std::numeric_limits<std::int64_t>::max());
}

}  // namespace
