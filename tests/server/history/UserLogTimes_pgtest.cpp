// The times of user log rows: calendar fields of the session's time zone are read as local time of the
// process.

#include <optional>

#include "server/Random.h"
#include "server/Zone.h"
#include "server/history/HistoryTest.h"

namespace {

constexpr std::int64_t kHour = 3600;
constexpr std::int64_t kKolkata = 5 * kHour + kHour / 2;  // ahead of UTC the whole year

// In St. John's the clocks go from 1:59:59 to 3:00:00 at this instant,
constexpr std::int64_t kSpring = 1710048600;  // 2024-03-10 05:30 UTC
// and from 1:59:59 back to 1:00:00 at this one.
constexpr std::int64_t kAutumn = 1730608200;  // 2024-11-03 04:30 UTC

constexpr const char* kZones[] = {"UTC", "Asia/Kolkata", "America/St_Johns"};

class UserLogTimes : public HistoryTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(dbms->CreateUserLogTable(L"times", {{L"n", 0, 0}}, 0)) << Error();
  }
  void TearDown() override {
    processZone.reset();
    HistoryTest::TearDown();
  }

  void SetProcessZone(const char* zone) {
    processZone.reset();
    processZone.emplace("TZ", zone);
  }
  // Makes new sessions start in a zone.
  void SetSessionZone(const char* zone) {
    const std::string name(zone);
    dbms = NewDbmsOn(Database() + L";-c TimeZone=" + std::wstring(name.begin(), name.end()));
  }
  // The time that is read for a row stored with this time.
  std::int64_t ReadBack(std::int64_t timeMs) {
    Run("delete from user_times");
    EXPECT_TRUE(dbms->InsertUserLogData(L"times", {timeMs, {L"1"}})) << Error();
    std::vector<UserLogRow> rows;
    EXPECT_TRUE(dbms->GetUserLogData(L"times", timeMs / 1000, timeMs / 1000 + 1, L"", {}, rows)) << Error();
    EXPECT_EQ(rows.size(), 1u);
    return rows.empty() ? 0 : rows[0].time;
  }

  std::optional<Environment> processZone;
};

TEST_F(UserLogTimes, AreReadToTheSecondWhereBothZonesAreTheSame) {
  for (const char* zone : kZones) {
    SetProcessZone(zone);
    SetSessionZone(zone);
    Random random(17);
    for (int i = 0; i < 50; ++i) {
      const std::int64_t timeMs = random.Between(1710000000000, 1730000000000);  // no hour that comes twice
      EXPECT_EQ(ReadBack(timeMs), timeMs / 1000) << zone;
    }
    EXPECT_EQ(ReadBack(1700000000999), 1700000000) << zone;
    EXPECT_EQ(ReadBack(1000), 1) << zone;
    EXPECT_EQ(ReadBack(4102444800000), 4102444800) << zone;
  }
}

TEST_F(UserLogTimes, TheSessionsZoneMayComeFromTheEnvironment) {
  SetProcessZone("Asia/Kolkata");
  const Environment zone("PGTZ", "Asia/Kolkata");
  dbms = NewDbms();
  EXPECT_EQ(ReadBack(1700000000123), 1700000000);
}

TEST_F(UserLogTimes, KeepsReadingAnotherZonesFieldsAsLocalTime) {
  SetProcessZone("UTC");
  SetSessionZone("Asia/Kolkata");
  EXPECT_EQ(ReadBack(1700000000123), 1700000000 + kKolkata);
  SetProcessZone("Asia/Kolkata");
  SetSessionZone("UTC");
  EXPECT_EQ(ReadBack(1700000000123), 1700000000 - kKolkata);
}

TEST_F(UserLogTimes, AreReadAcrossTheHourThatIsLeftOut) {
  SetProcessZone("America/St_Johns");
  SetSessionZone("America/St_Johns");
  for (const std::int64_t time : {kSpring - kHour, kSpring - 1, kSpring, kSpring + 1, kSpring + kHour}) {
    EXPECT_EQ(ReadBack(time * 1000), time);
  }
}

// The hour occurs twice with the same calendar fields; both read as the first.
TEST_F(UserLogTimes, KeepsReadingTheHourThatComesTwiceAsItsFirstTime) {
  SetProcessZone("America/St_Johns");
  SetSessionZone("America/St_Johns");
  for (const std::int64_t time : {kAutumn - kHour - 1, kAutumn + kHour})
    EXPECT_EQ(ReadBack(time * 1000), time);
  for (std::int64_t offset = 0; offset < kHour; offset += 599) {
    const std::int64_t first = kAutumn - kHour + offset;
    EXPECT_EQ(ReadBack(first * 1000), first);
    EXPECT_EQ(ReadBack((first + kHour) * 1000), first);
  }
}

// Fields of another zone may be in the hour that is skipped; they read as an hour later.
TEST_F(UserLogTimes, KeepsFieldsOfTheHourThatIsLeftOut) {
  SetProcessZone("America/St_Johns");
  SetSessionZone("UTC");
  const std::int64_t twoThirty = 1710037800;  // 2024-03-10 02:30 UTC
  const std::int64_t read = ReadBack(twoThirty * 1000);
  EXPECT_EQ(read, kSpring + kHour / 2);
}

}  // namespace
