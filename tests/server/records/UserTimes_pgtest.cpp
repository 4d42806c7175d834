#include "server/DbmsTest.h"
#include "server/Zone.h"
#include "server/records/Accounts.h"

namespace {

class UserTimes : public DbmsTest {
 protected:
  void SetUp() override {
    DbmsTest::SetUp();
    ASSERT_TRUE(NewDbms()->CreateUserTables());
  }
  // The accounts as a new session reads them.
  std::vector<UserRecord> Get() {
    std::vector<UserRecord> users;
    EXPECT_TRUE(NewDbms()->GetUsers(users));
    return users;
  }
};

TEST_F(UserTimes, NullReadsAsZeroAndEmptyInEveryZone) {
  ASSERT_TRUE(NewDbms()->InsertUsers({Account(L"op")}));
  Run("update userinfo_table set login_date = null, old_password = null");
  for (const char* name : {"UTC", "Asia/Kolkata", "America/St_Johns"}) {
    const Zone zone(name);
    const auto users = Get();
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ(users[0].login_date, 0);
    EXPECT_EQ(users[0].old_password, L"");
  }
}

TEST_F(UserTimes, TimesComeBackWhenSessionAndProcessShareAZone) {
  // The epoch, a winter and a summer day, the last second of 32 bits.
  const std::vector<std::int32_t> times = {0, 1704067200, 1719835199, 2147483647};
  for (const char* name : {"UTC", "Asia/Kolkata", "America/St_Johns"}) {
    SCOPED_TRACE(name);
    const Zone zone(name);
    for (const std::int32_t time : times) {
      UserRecord user = Account(L"op");
      user.login_date = user.expired_date = user.last_reset_pass = time;
      ASSERT_TRUE(NewDbms()->DeleteAllUsers());
      ASSERT_TRUE(NewDbms()->InsertUsers({user}));
      EXPECT_EQ(Value("select extract(epoch from login_date)::bigint from userinfo_table"),
                std::to_string(time));
      const auto users = Get();
      ASSERT_EQ(users.size(), 1u);
      EXPECT_TRUE(Same(users[0], user)) << users[0].login_date;
    }
  }
}

TEST_F(UserTimes, KeepsTakingTheSessionsTimeForLocalTime) {
  UserRecord user = Account(L"op");
  user.login_date = 1704067200;
  ASSERT_TRUE(NewDbms()->InsertUsers({user}));
  struct Case {
    const char* process;
    const char* session;
    std::int32_t off;  // seconds
  };
  for (const Case& one : {Case{"UTC", "Asia/Kolkata", 19800}, Case{"Asia/Kolkata", "UTC", -19800},
                          Case{"UTC", "America/St_Johns", -12600}, Case{"America/St_Johns", "UTC", 12600}}) {
    SCOPED_TRACE(testing::Message() << one.process << ' ' << one.session);
    const Zone zone(one.process, one.session);
    const auto users = Get();
    ASSERT_EQ(users.size(), 1u);
    EXPECT_EQ(users[0].login_date, 1704067200 + one.off);
  }
}

TEST_F(UserTimes, KeepsLosingWhichOfTwoSameHoursItWas) {
  const Zone zone("America/St_Johns");
  // Half past one before and after the clocks went back in November 2023.
  UserRecord summer = Account(L"summer");
  summer.login_date = 1699156800;
  UserRecord winter = Account(L"winter");
  winter.login_date = 1699160400;
  ASSERT_TRUE(NewDbms()->InsertUsers({summer, winter}));
  const auto users = Get();
  ASSERT_EQ(users.size(), 2u);
  for (const UserRecord& user : users) EXPECT_EQ(user.login_date, 1699156800);
}

TEST_F(UserTimes, KeepsCuttingTimesToThirtyTwoBits) {
  const Zone zone("UTC");
  ASSERT_TRUE(NewDbms()->InsertUsers({Account(L"op")}));
  Run("update userinfo_table set login_date = to_timestamp(2147483648), expired_date = to_timestamp(4294967301), "
      "last_reset_pass = to_timestamp(1700000000.999)");
  const auto users = Get();
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].login_date, INT32_MIN);
  EXPECT_EQ(users[0].expired_date, 5);
  EXPECT_EQ(users[0].last_reset_pass, 1700000000);
}

}  // namespace
