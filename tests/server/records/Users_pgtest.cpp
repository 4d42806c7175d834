#include "server/DbmsTest.h"
#include "server/Zone.h"
#include "server/records/Accounts.h"

namespace {

using Lines = std::vector<std::string>;

class Users : public DbmsTest {
 protected:
  void SetUp() override {
    DbmsTest::SetUp();
    dbms = NewDbms();
  }
  std::vector<UserRecord> Get() {
    std::vector<UserRecord> users;
    EXPECT_TRUE(dbms->GetUsers(users));
    return users;
  }
  std::string Columns(const std::string& table) {
    return Value(
        "select count(*) from information_schema.columns where table_schema = 'public' and table_name = '" +
        table + "'");
  }
  void CreateTables() { ASSERT_TRUE(dbms->CreateUserTables()); }
  const Zone zone{"UTC"};
  std::shared_ptr<Dbms> dbms;
};

TEST_F(Users, BothTablesAreMade) {
  CreateTables();
  EXPECT_EQ(Columns("userinfo_table"), "17");
  EXPECT_EQ(Rows("select column_name, data_type, is_nullable from information_schema.columns where "
                 "table_name = 'locked_user_list' order by ordinal_position"),
            (Lines{"id|text|NO", "locked_time|timestamp with time zone|YES"}));
  EXPECT_EQ(Rows("select column_name from information_schema.columns where table_name = 'userinfo_table' and "
                 "is_nullable = 'YES' order by ordinal_position"),
            (Lines{"old_password", "login_date"}));
}

TEST_F(Users, ASecondCallKeepsAccountsAndLocks) {
  CreateTables();
  ASSERT_TRUE(dbms->InsertUsers({Account(L"op")}));
  Run("insert into locked_user_list values ('op', now())");
  CreateTables();
  EXPECT_EQ(Get().size(), 1u);
  EXPECT_EQ(Value("select count(*) from locked_user_list"), "1");
}

TEST_F(Users, AccountsAreReplacedAndReadBack) {
  CreateTables();
  ASSERT_TRUE(dbms->InsertUsers({Account(L"former")}));

  UserRecord second = Account(L"op2");
  second.login_date = 2147483647;
  second.expired_date = -1;
  second.login_count = INT32_MIN;
  second.security_level = INT32_MAX;
  second.use_expire = INT16_MIN;
  second.old_password.clear();
  EXPECT_TRUE(dbms->DeleteAllUsers());
  EXPECT_TRUE(dbms->InsertUsers({Account(L"op1"), second}));

  const auto users = Get();
  ASSERT_EQ(users.size(), 2u);
  EXPECT_TRUE(Same(users[0], Account(L"op1")));
  EXPECT_TRUE(Same(users[1], second));
  EXPECT_EQ(
      Rows("select id, extract(epoch from login_date)::bigint, extract(epoch from expired_date)::bigint, "
           "extract(epoch from last_reset_pass)::bigint from userinfo_table order by id"),
      (Lines{"op1|0|0|1700000000", "op2|2147483647|-1|1700000000"}));
  EXPECT_EQ(Value("select old_password is null from userinfo_table where id = 'op2'"), "f");
}

TEST_F(Users, EveryTextMayHoldAnything) {
  CreateTables();
  const std::wstring text =
      std::wstring(L"\u00e9\u4e2d\u6587 \ud55c\uad6d\uc5b4 'quoted' \"too\" \\ :1 $1 \t\n{}%s ") +
      kEveryPlane;
  UserRecord user = {text, text, text, text, 1, 2, text, text, 0, 0, text, 0, 0, text, 3, 0, kEveryPlane};
  EXPECT_TRUE(dbms->InsertUsers({user}));
  const auto users = Get();
  ASSERT_EQ(users.size(), 1u);
  EXPECT_TRUE(Same(users[0], user));
  EXPECT_EQ(Value(std::string("select description = ") + kEveryPlaneSql + " from userinfo_table"), "t");
}

TEST_F(Users, ADuplicateIdStopsThereAndEarlierAccountsStay) {
  CreateTables();
  EXPECT_FALSE(dbms->InsertUsers({Account(L"op1"), Account(L"op2"), Account(L"op1"), Account(L"op3")}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"duplicate key"), std::wstring::npos);
  EXPECT_EQ(Rows("select id from userinfo_table order by id"), (Lines{"op1", "op2"}));
  EXPECT_TRUE(dbms->InsertUsers({Account(L"op3")}));
}

TEST_F(Users, NoAccountsAreASuccess) {
  EXPECT_TRUE(dbms->InsertUsers({}));
  CreateTables();
  EXPECT_TRUE(dbms->DeleteAllUsers());
  EXPECT_TRUE(Get().empty());
}

TEST_F(Users, TheLoggedInAreThoseMarkedWithOne) {
  CreateTables();
  std::vector<UserRecord> users;
  for (const std::int16_t mark : {std::int16_t{0}, std::int16_t{1}, std::int16_t{2}, std::int16_t{1}}) {
    users.push_back(Account((L"op" + std::to_wstring(users.size())).c_str()));
    users.back().is_now_login = mark;
  }
  ASSERT_TRUE(dbms->InsertUsers(users));
  std::vector<std::wstring> ids = {L"before"};
  EXPECT_TRUE(dbms->GetLoggedInUserIds(ids));
  EXPECT_EQ(ids, (std::vector<std::wstring>{L"before", L"op1", L"op3"}));
}

TEST_F(Users, ATableOfSixteenColumnsStaysAndRefusesAccounts) {
  CreateTables();
  ASSERT_TRUE(dbms->InsertUsers({Account(L"op")}));
  Run("alter table userinfo_table drop description");
  CreateTables();
  EXPECT_EQ(Columns("userinfo_table"), "16");

  EXPECT_FALSE(dbms->InsertUsers({Account(L"op2")}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"INSERT has more expressions than target columns"),
            std::wstring::npos);
  std::vector<UserRecord> users;
  EXPECT_FALSE(dbms->GetUsers(users));
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].id, L"op");
  EXPECT_EQ(users[0].description, L"");
}

TEST_F(Users, KeepsDroppingAccountsOfEighteenColumns) {
  CreateTables();
  ASSERT_TRUE(dbms->InsertUsers({Account(L"op")}));
  Run("alter table userinfo_table add more text");
  EXPECT_EQ(Get().size(), 1u);
  EXPECT_TRUE(dbms->InsertUsers({Account(L"op2")}));

  CreateTables();
  EXPECT_EQ(Columns("userinfo_table"), "17");
  EXPECT_TRUE(Get().empty());
}

TEST_F(Users, KeepsCountingTheColumnsOfEverySchema) {
  CreateTables();
  ASSERT_TRUE(dbms->InsertUsers({Account(L"op")}));
  Run("create schema other");
  Run("create table other.userinfo_table (id text)");
  CreateTables();
  EXPECT_TRUE(Get().empty());
}

TEST_F(Users, KeepsFailingToDropWhatOnlyAnotherSchemaHas) {
  Run("create schema other");
  Run("create table other.userinfo_table (" +
      [] {
        std::string columns = "c1 int";
        for (int i = 2; i <= 18; ++i) columns += ", c" + std::to_string(i) + " int";
        return columns;
      }() +
      ")");
  EXPECT_FALSE(dbms->CreateUserTables());
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"table \"userinfo_table\" does not exist"),
            std::wstring::npos);
  EXPECT_EQ(Columns("locked_user_list"), "0");
}

TEST_F(Users, WithoutTheTableOperationsAnswerFalse) {
  std::vector<UserRecord> users;
  std::vector<std::wstring> ids;
  EXPECT_FALSE(dbms->DeleteAllUsers());
  EXPECT_FALSE(dbms->InsertUsers({Account(L"op")}));
  EXPECT_FALSE(dbms->GetUsers(users));
  EXPECT_FALSE(dbms->GetLoggedInUserIds(ids));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"relation \"userinfo_table\" does not exist"),
            std::wstring::npos);
  EXPECT_TRUE(users.empty());
}

}  // namespace
