#include <ctime>

#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] =
    L"select count(*) from information_schema.columns where table_name = 'userinfo_table'";
constexpr wchar_t kDrop[] = L"drop table userinfo_table";
constexpr wchar_t kCreateUsers[] =
    L"create table if not exists userinfo_table (id text not null primary key,username text not null,password text not null,old_password text,security_level int not null,sign_level int not null,user_group text not null,user_role text not null,is_now_login int2 not null,login_date timestamptz,operator_node text not null,use_expire int2 not null,expired_date timestamptz not null,login_device text not null,login_count int not null,last_reset_pass timestamptz not null,description text not null)";
constexpr wchar_t kCreateLocks[] =
    L"create table if not exists locked_user_list (id text not null,locked_time timestamptz)";
constexpr wchar_t kGet[] = L"select * from userinfo_table";
constexpr wchar_t kLoggedIn[] = L"select id from userinfo_table where is_now_login = 1";

// Epoch seconds of calendar fields in this process's time zone.
std::int64_t Local(int year, int month, int day, int hour, int minute, int second) {
  std::tm fields{};
  fields.tm_year = year - 1900;
  fields.tm_mon = month - 1;
  fields.tm_mday = day;
  fields.tm_hour = hour;
  fields.tm_min = minute;
  fields.tm_sec = second;
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

// An account as the server delivers it.
scripted::Row Account(const wchar_t* id) {
  return {id,
          L"Operator One",
          L"p'w",
          L"old",
          L"7",
          L"-2",
          L"crew",
          L"shift lead",
          L"1",
          L"2024-02-29 12:34:56.999+00",
          L"node 3",
          L"-1",
          L"2030-01-01 00:00:00+00",
          L"panel",
          L"2147483647",
          L"1970-01-02 03:04:05+00",
          L"text"};
}

class Users : public ScriptedTest {
 protected:
  Texts CreateTables() {
    server.Forget();
    EXPECT_TRUE(dbms->CreateUserTables());
    return server.Statements();
  }
  std::vector<UserRecord> Get(scripted::Rows rows) {
    server.Answer(kGet, std::move(rows));
    std::vector<UserRecord> users;
    EXPECT_TRUE(dbms->GetUsers(users));
    return users;
  }
  const UserRecord operator1 = {L"op1",  L"Operator One", L"p'w",     L"old",     7,         -2,
                                L"crew", L"lead",         1,          1700000000, L"node 3", -1,
                                -5,      L"panel",        2147483647, 0,          L"text"};
};

TEST_F(Users, AFreshDatabaseGetsBothTables) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(CreateTables(), (Texts{kCount, kCreateUsers, kCreateLocks}));
}

TEST_F(Users, ATableOfSeventeenColumnsOrFewerIsLeftAsItIs) {
  for (const wchar_t* count : {L"17", L"16", L"1"}) {
    server.Answer(kCount, {{count}});
    EXPECT_EQ(CreateTables(), (Texts{kCount, kCreateUsers, kCreateLocks}));
  }
}

TEST_F(Users, KeepsDroppingAccountsOfEighteenColumns) {
  for (const wchar_t* count : {L"18", L"34"}) {
    server.Answer(kCount, {{count}});
    EXPECT_EQ(CreateTables(), (Texts{kCount, kDrop, kCreateUsers, kCreateLocks}));
  }
}

TEST_F(Users, KeepsStartingTheCountAtSeventeen) {
  server.Answer(kCount, {});
  EXPECT_EQ(CreateTables(), (Texts{kCount, kCreateUsers, kCreateLocks}));
}

TEST_F(Users, TheLastRowOfTheCountDecides) {
  server.Answer(kCount, {{L"17"}, {L"18"}});
  EXPECT_EQ(CreateTables().size(), 4u);
  server.Answer(kCount, {{L"18"}, {L"17"}});
  EXPECT_EQ(CreateTables().size(), 3u);
}

TEST_F(Users, ADroppedTableStaysDroppedWhenTheCreateFails) {
  server.Answer(kCount, {{L"18"}});
  server.FailStatement(3);
  EXPECT_FALSE(dbms->CreateUserTables());
  EXPECT_EQ(server.Statements(), (Texts{kCount, kDrop, kCreateUsers}));
}

TEST_F(Users, DeletingEndsWithABlank) {
  EXPECT_TRUE(dbms->DeleteAllUsers());
  EXPECT_EQ(server.Statements(), Texts{L"delete from userinfo_table "});
}

TEST_F(Users, AnAccountIsInsertedWithTimesInTheTextAndTypedBinds) {
  EXPECT_TRUE(dbms->InsertUsers({operator1}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into userinfo_table values (:1,:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(1700000000),:10,:11,to_timestamp(-5),:12,:13,to_timestamp(0),:14)"});
  EXPECT_EQ(server.sent[0].binds,
            (Texts{L"text op1", L"text Operator One", L"text p'w", L"text old", L"int4 7", L"int4 -2",
                   L"text crew", L"text lead", L"int2 1", L"text node 3", L"int2 -1", L"text panel",
                   L"int4 2147483647", L"text text"}));
}

TEST_F(Users, EmptyTextsAndZeroesStayWhatTheyAre) {
  EXPECT_TRUE(dbms->InsertUsers({UserRecord{}}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into userinfo_table values (:1,:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(0),:10,:11,to_timestamp(0),:12,:13,to_timestamp(0),:14)"});
  EXPECT_EQ(server.sent[0].binds,
            (Texts{L"text ", L"text ", L"text ", L"text ", L"int4 0", L"int4 0", L"text ", L"text ",
                   L"int2 0", L"text ", L"int2 0", L"text ", L"int4 0", L"text "}));
}

TEST_F(Users, TheWidestTimesAreWrittenInFull) {
  UserRecord user = operator1;
  user.login_date = 2147483647;
  user.expired_date = INT32_MIN;
  EXPECT_TRUE(dbms->InsertUsers({user}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into userinfo_table values (:1,:2,:3,:4,:5,:6,:7,:8,:9,to_timestamp(2147483647),:10,:11,to_timestamp(-2147483648),:12,:13,to_timestamp(0),:14)"});
}

TEST_F(Users, InsertingStopsAtTheAccountThatFails) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(2, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertUsers({operator1, operator1, operator1}));
  EXPECT_EQ(server.sent.size(), 2u);
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

TEST_F(Users, NoAccountsSendNothing) {
  EXPECT_TRUE(dbms->InsertUsers({}));
  EXPECT_TRUE(server.sent.empty());
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_FALSE(NewDbms()->InsertUsers({}));
}

TEST_F(Users, AccountsAreReadByPosition) {
  const auto users = Get({Account(L"op1"), Account(L"op2")});
  EXPECT_EQ(server.Statements(), Texts{kGet});
  ASSERT_EQ(users.size(), 2u);
  const UserRecord& user = users[0];
  EXPECT_EQ(user.id, L"op1");
  EXPECT_EQ(user.username, L"Operator One");
  EXPECT_EQ(user.password, L"p'w");
  EXPECT_EQ(user.old_password, L"old");
  EXPECT_EQ(user.security_level, 7);
  EXPECT_EQ(user.sign_level, -2);
  EXPECT_EQ(user.user_group, L"crew");
  EXPECT_EQ(user.user_role, L"shift lead");
  EXPECT_EQ(user.is_now_login, 1);
  EXPECT_EQ(user.operator_node, L"node 3");
  EXPECT_EQ(user.use_expire, -1);
  EXPECT_EQ(user.login_device, L"panel");
  EXPECT_EQ(user.login_count, 2147483647);
  EXPECT_EQ(user.description, L"text");
  EXPECT_EQ(users[1].id, L"op2");
}

TEST_F(Users, KeepsTakingTheServersTimeForLocalTime) {
  const auto users = Get({Account(L"op1")});
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].login_date, Local(2024, 2, 29, 12, 34, 56));
  EXPECT_EQ(users[0].expired_date, Local(2030, 1, 1, 0, 0, 0));
  EXPECT_EQ(users[0].last_reset_pass, Local(1970, 1, 2, 3, 4, 5));

  scripted::Row elsewhere = Account(L"op1");
  elsewhere[9] = L"2024-02-29 12:34:56+05:30";
  EXPECT_EQ(Get({elsewhere})[0].login_date, Local(2024, 2, 29, 12, 34, 56));
}

TEST_F(Users, KeepsCuttingTimesToThirtyTwoBits) {
  scripted::Row row = Account(L"op1");
  row[9] = L"2038-01-21 00:00:00+00";
  row[12] = L"2174-01-01 00:00:00+00";
  const UserRecord user = Get({row})[0];
  EXPECT_EQ(user.login_date, Local(2038, 1, 21, 0, 0, 0) - 4294967296);
  EXPECT_LT(user.login_date, 0);
  EXPECT_EQ(user.expired_date, Local(2174, 1, 1, 0, 0, 0) - 4294967296);
  EXPECT_GT(user.expired_date, 0);
}

TEST_F(Users, ANullLoginDateIsZeroAndANullPasswordIsEmpty) {
  scripted::Row row = Account(L"op1");
  row[3] = std::nullopt;
  row[9] = std::nullopt;
  const auto users = Get({row});
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].old_password, L"");
  EXPECT_EQ(users[0].login_date, 0);
}

TEST_F(Users, AccountsAreAppended) {
  server.Answer(kGet, {Account(L"op1")});
  std::vector<UserRecord> users(2);
  EXPECT_TRUE(dbms->GetUsers(users));
  ASSERT_EQ(users.size(), 3u);
  EXPECT_EQ(users[2].id, L"op1");
}

TEST_F(Users, AnExtraColumnIsNotRead) {
  scripted::Row row = Account(L"op1");
  row.push_back(L"more");
  EXPECT_EQ(Get({row})[0].description, L"text");
}

TEST_F(Users, AMissingColumnLeavesTheRecordPartlyFilled) {
  scripted::Row row = Account(L"op1");
  row.pop_back();
  server.Answer(kGet, {row});
  std::vector<UserRecord> users;
  EXPECT_FALSE(dbms->GetUsers(users));
  ASSERT_EQ(users.size(), 1u);
  EXPECT_EQ(users[0].id, L"op1");
  EXPECT_EQ(users[0].login_count, 2147483647);
  EXPECT_EQ(users[0].description, L"");
}

TEST_F(Users, AccountsReadBeforeAFailureStay) {
  server.FailAfterRows(kGet, {Account(L"op1"), Account(L"op2"), Account(L"op3")}, 2);
  std::vector<UserRecord> users;
  EXPECT_FALSE(dbms->GetUsers(users));
  ASSERT_EQ(users.size(), 2u);
  EXPECT_EQ(users[1].id, L"op2");
}

TEST_F(Users, TheIdsOfTheLoggedInAreAppended) {
  server.Answer(kLoggedIn, {{L"op1"}, {L"op2"}});
  std::vector<std::wstring> ids = {L"before"};
  EXPECT_TRUE(dbms->GetLoggedInUserIds(ids));
  EXPECT_EQ(server.Statements(), Texts{kLoggedIn});
  EXPECT_EQ(ids, (Texts{L"before", L"op1", L"op2"}));
}

TEST_F(Users, IdsReadBeforeAFailureStay) {
  server.FailAfterRows(kLoggedIn, {{L"op1"}, {L"op2"}}, 1);
  std::vector<std::wstring> ids;
  EXPECT_FALSE(dbms->GetLoggedInUserIds(ids));
  EXPECT_EQ(ids, Texts{L"op1"});
}

}  // namespace
