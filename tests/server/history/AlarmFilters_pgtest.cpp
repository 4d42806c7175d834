#include "server/Random.h"
#include "server/history/AlarmTest.h"

namespace {

// The masks that select every code.
constexpr std::int16_t kAnyStatus = 0xF;
constexpr std::int16_t kAnyType = 0x1FFF;
constexpr std::int16_t kAnyLevel = -2;  // 0xFFFE
constexpr std::int16_t kAnyZone = -1;

struct Filter {
  std::int64_t from = kStart;
  std::int64_t to = kStart + 1000;
  std::int16_t status = kAnyStatus;
  std::int16_t type = kAnyType;
  std::int16_t level = kAnyLevel;
  std::int16_t zone = kAnyZone;
  std::vector<const wchar_t*> prefixes = {};
  std::vector<std::pair<std::int64_t, std::int64_t>> excluded = {};
};

bool Selects(std::int16_t mask, int code) { return (mask >> code & 1) != 0; }

bool PassesMasks(const Filter& filter, const AlarmRecord& alarm) {
  const bool level = (filter.level | 1) == -1 || (alarm.level > 0 && Selects(filter.level, alarm.level));
  return Selects(filter.status, alarm.status) && Selects(filter.type, alarm.type) && level &&
         Selects(filter.zone, alarm.zone);
}

// Whether an alarm passes a filter. Times are in milliseconds.
bool Passes(const Filter& filter, const AlarmRecord& alarm) {
  const auto lies = [&](const auto& range) {
    return alarm.timeMs >= range.first * 1000 && alarm.timeMs <= range.second * 1000;
  };
  const auto begins = [&](const wchar_t* prefix) { return alarm.tagName.starts_with(prefix); };
  const auto& [prefixes, excluded] = std::tie(filter.prefixes, filter.excluded);
  return lies(std::pair(filter.from, filter.to)) && PassesMasks(filter, alarm) &&
         (excluded.empty() || !std::all_of(excluded.begin(), excluded.end(), lies)) &&
         (prefixes.empty() || std::any_of(prefixes.begin(), prefixes.end(), begins));
}

class AlarmFilters : public AlarmTest {
 protected:
  bool Get(const Filter& filter, std::vector<AlarmRecord>& records) {
    return dbms->GetAlarmData(filter.from, filter.to, filter.status, filter.type, filter.level, filter.zone,
                              filter.prefixes, filter.excluded, records);
  }
  // The query returns the alarms that pass, newest first.
  void ExpectWhatPasses(const Filter& filter, std::vector<AlarmRecord> alarms) {
    std::erase_if(alarms, [&](const AlarmRecord& alarm) { return !Passes(filter, alarm); });
    std::vector<AlarmRecord> records;
    ASSERT_TRUE(Get(filter, records)) << Error();
    ExpectNewestFirst(records, std::move(alarms));
  }
};

// One alarm per second with every code of every column, and levels and zones in many combinations.
std::vector<AlarmRecord> AlarmsOfAllCodes() {
  const wchar_t* const tags[] = {L"PUMP.1", L"PUMP.2", L"TANK.1", L"\U0001F600.x"};
  std::vector<AlarmRecord> alarms;
  for (int i = 0; i < 208; ++i) {
    AlarmRecord alarm;
    alarm.timeMs = kStart * 1000 + i * 1000 + i;
    alarm.tagName = tags[i / 3 % 4];
    alarm.value = i / 7.0;
    alarm.label = L"alarm " + std::to_wstring(i);
    alarm.status = static_cast<std::int16_t>(i % 4);
    alarm.type = static_cast<std::int16_t>(i % 13);
    alarm.level = static_cast<std::int16_t>(i % 16);
    alarm.zone = static_cast<std::int16_t>(i * 7 % 16);
    alarm.occTimeMs = alarm.timeMs - 500;
    alarm.freeTimeMs = i % 2 == 0 ? alarm.timeMs + 1 : 0;
    alarms.push_back(alarm);
  }
  return alarms;
}

TEST_F(AlarmFilters, EveryCodeOfEveryMaskSelectsItsAlarms) {
  const std::vector<AlarmRecord> alarms = AlarmsOfAllCodes();
  InsertAll(alarms);
  ExpectWhatPasses({}, alarms);
  for (int code = 0; code < 4; ++code)
    ExpectWhatPasses({.status = static_cast<std::int16_t>(1 << code)}, alarms);
  for (int code = 0; code < 13; ++code)
    ExpectWhatPasses({.type = static_cast<std::int16_t>(1 << code)}, alarms);
  for (int code = 1; code < 16; ++code)
    ExpectWhatPasses({.level = static_cast<std::int16_t>(1 << code)}, alarms);
  for (int code = 0; code < 16; ++code)
    ExpectWhatPasses({.zone = static_cast<std::int16_t>(1 << code)}, alarms);
}

// A mask that selects some of the codes, or all of them.
std::int16_t RandomMask(Random& random, std::int16_t all) {
  for (;;) {
    const auto mask = static_cast<std::int16_t>(random.Any<std::int16_t>() & all);
    if (mask != 0) return random.Between(0, 2) == 0 ? mask : all;
  }
}

Filter RandomFilter(Random& random) {
  const wchar_t* const prefixes[] = {L"PUMP", L"PUMP.2", L"TANK", L"\U0001F600", L"", L"X"};
  Filter filter;
  filter.from = kStart + random.Between(0, 100);
  filter.to = kStart + random.Between(50, 208);
  filter.status = RandomMask(random, kAnyStatus);
  filter.type = RandomMask(random, kAnyType);
  filter.level = RandomMask(random, kAnyLevel);
  filter.zone = RandomMask(random, kAnyZone);
  for (std::int64_t i = random.Between(0, 2); i > 0; --i)
    filter.prefixes.push_back(prefixes[random.Between(0, 5)]);
  const bool first = filter.status == kAnyStatus && filter.type == kAnyType && filter.level == kAnyLevel &&
                     filter.zone == kAnyZone;
  for (std::int64_t i = first ? random.Between(0, 2) : 0; i > 0; --i) {
    const std::int64_t from = kStart + random.Between(0, 208);
    filter.excluded.emplace_back(from, from + random.Between(0, 100));
  }
  return filter;
}

TEST_F(AlarmFilters, RandomFiltersSelectWhatTheySay) {
  const std::vector<AlarmRecord> alarms = AlarmsOfAllCodes();
  InsertAll(alarms);
  Random random(41);
  for (int i = 0; i < 400; ++i) ExpectWhatPasses(RandomFilter(random), alarms);
}

TEST_F(AlarmFilters, KeepsAlarmsThatLieInOneOfTwoExcludedRanges) {
  const std::vector<AlarmRecord> alarms = AlarmsOfAllCodes();
  InsertAll(alarms);
  std::vector<AlarmRecord> records;
  ASSERT_TRUE(Get({.excluded = {{kStart, kStart + 100}, {kStart + 50, kStart + 208}}}, records));
  EXPECT_EQ(records.size(), alarms.size() - 50);
  records.clear();
  ASSERT_TRUE(Get({.excluded = {{kStart, kStart + 50}, {kStart + 60, kStart + 208}}}, records));
  EXPECT_EQ(records.size(), alarms.size());
}

TEST_F(AlarmFilters, KeepsWildcardsInPrefixes) {
  for (const wchar_t* tag : {L"A_1", L"AB1", L"A%", L"B"}) ASSERT_TRUE(Insert(Alarm(kStart * 1000, tag)));
  std::vector<AlarmRecord> records;
  EXPECT_TRUE(Get({.prefixes = {L"A_1"}}, records));
  EXPECT_EQ(records.size(), 2u);
  EXPECT_TRUE(Get({.prefixes = {L"%1"}}, records));
  EXPECT_EQ(records.size(), 4u);
}

TEST_F(AlarmFilters, KeepsFiltersThatTheServerRefuses) {
  ASSERT_TRUE(Insert(Alarm(kStart * 1000, L"A")));
  const Filter refused[] = {{.level = 1},
                            {.status = 0x10},
                            {.type = 0x2000},
                            {.status = 1, .excluded = {{10, 20}}},
                            {.prefixes = {L"it's"}}};
  for (const Filter& filter : refused) {
    std::vector<AlarmRecord> records;
    EXPECT_FALSE(Get(filter, records));
    EXPECT_TRUE(Holds(Error(), "syntax error")) << Error();
    EXPECT_TRUE(records.empty());
    EXPECT_TRUE(Get({}, records));
    EXPECT_EQ(records.size(), 1u);
  }
}

}  // namespace
