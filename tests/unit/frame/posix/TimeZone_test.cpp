// TZ changes while the process runs, without a call of tzset.

#include <cstdlib>
#include <optional>

#include "platform/Process.h"
#include "platform/Zone.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr std::int64_t kNoonInUtc = 1700049600;
constexpr std::int64_t kNoonInKolkata = kNoonInUtc - 19800;
constexpr wchar_t kNoon[] = L"2023-11-15 12:00:00+00";

class TimeZone : public ScriptedTest {
 protected:
  TimeZone() {
    if (const char* zone = std::getenv("TZ")) former_ = zone;
    platform::SetZone("UTC");
  }
  ~TimeZone() override { platform::SetZone(former_ ? former_->c_str() : nullptr); }

 private:
  std::optional<std::string> former_;
};

TEST_F(TimeZone, ChangesForTheNextAccounts) {
  scripted::Row account(17, L"0");
  account[9] = account[12] = account[15] = kNoon;
  server.Answer(L"select * from userinfo_table", {account});
  std::vector<UserRecord> users;
  ASSERT_TRUE(dbms->GetUsers(users));
  platform::SetVariable("TZ", "Asia/Kolkata");
  ASSERT_TRUE(dbms->GetUsers(users));
  EXPECT_EQ(users[0].login_date, kNoonInUtc);
  EXPECT_EQ(users[1].login_date, kNoonInKolkata);
}

TEST_F(TimeZone, ChangesForTheNextAggregates) {
  scripted::Row row(12, L"0");
  row[0] = row[9] = row[11] = kNoon;
  row[1] = L"A";
  server.Answer(
      L"select * from report_data_analog_minute where tag_name in ('A') and time = to_timestamp(1) order by "
      L"tag_name, time",
      {row});
  std::unordered_map<std::wstring, std::vector<ReportAnalogData>> data = {{L"A", {}}};
  ASSERT_TRUE(dbms->GetReportAnalogData(L"minute", 1, 0, data));
  platform::SetVariable("TZ", "Asia/Kolkata");
  ASSERT_TRUE(dbms->GetReportAnalogData(L"minute", 1, 0, data));
  EXPECT_EQ(data[L"A"][0].time, kNoonInUtc);
  EXPECT_EQ(data[L"A"][1].time, kNoonInKolkata);
}

TEST_F(TimeZone, ChangesForTheNextUserLogRows) {
  server.Answer(
      L"select * from user_batch where time >= to_timestamp(1) and time <= to_timestamp(2) order by time",
      {{kNoon, L"1"}});
  std::vector<UserLogRow> rows;
  ASSERT_TRUE(dbms->GetUserLogData(L"batch", 1, 2, L"", {}, rows));
  platform::SetVariable("TZ", "Asia/Kolkata");
  ASSERT_TRUE(dbms->GetUserLogData(L"batch", 1, 2, L"", {}, rows));
  EXPECT_EQ(rows[0].time, kNoonInUtc);
  EXPECT_EQ(rows[1].time, kNoonInKolkata);
}

}  // namespace
