#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCount[] =
    L"select count(*) from information_schema.tables where table_schema = 'public' and table_name = 'pr_timelist'";
constexpr wchar_t kUsers[] =
    L"select column_name from information_schema.columns where table_name = 'pr_timelist' and column_name = 'user_list'";
constexpr wchar_t kAddUsers[] = L"ALTER TABLE pr_timelist ADD COLUMN user_list TEXT[]";
constexpr wchar_t kType[] =
    L"select data_type from information_schema.columns where table_schema = 'public' and table_name = 'pr_timelist' and column_name = 'start_time'";
constexpr wchar_t kConvert[] =
    L"alter table pr_timelist alter column start_time type timestamptz,alter column end_time type timestamptz";
constexpr wchar_t kCreate[] =
    L"create table if not exists pr_timelist (page_name text NOT NULL,start_time timestamptz NOT NULL,end_time timestamptz,user_list text[],primary key (page_name,start_time))";

class PageTimeList : public ScriptedTest {
 protected:
  void Hold(bool users, const wchar_t* type) {
    server.Answer(kCount, {{L"1"}});
    server.Answer(kUsers, users ? scripted::Rows{{L"user_list"}} : scripted::Rows{});
    server.Answer(kType, {{type}});
  }
  Texts Create() {
    server.Forget();
    EXPECT_TRUE(dbms->CreatePageTimeListTable());
    return server.Statements();
  }
};

TEST_F(PageTimeList, AMissingTableIsCreated) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(Create(), (Texts{kCount, kCreate}));
}

TEST_F(PageTimeList, ACurrentTableIsLeftAsItIs) {
  Hold(true, L"timestamp with time zone");
  EXPECT_EQ(Create(), (Texts{kCount, kUsers, kType}));
}

TEST_F(PageTimeList, AMissingUserListIsAdded) {
  Hold(false, L"timestamp with time zone");
  EXPECT_EQ(Create(), (Texts{kCount, kUsers, kAddUsers, kType}));
}

TEST_F(PageTimeList, TimesOfAnotherTypeAreConverted) {
  for (const wchar_t* type : {L"timestamp without time zone", L"bigint", L"", L"Timestamp with time zone"}) {
    Hold(true, type);
    EXPECT_EQ(Create(), (Texts{kCount, kUsers, kType, kConvert}));
  }
}

TEST_F(PageTimeList, TheOldestLayoutGetsBothSteps) {
  Hold(false, L"timestamp without time zone");
  EXPECT_EQ(Create(), (Texts{kCount, kUsers, kAddUsers, kType, kConvert}));
}

TEST_F(PageTimeList, AFailedConversionIsTriedAgainByTheNextCall) {
  Hold(false, L"timestamp without time zone");
  server.FailStatement(5, {3, 7, L"ERROR:  cannot convert"});
  EXPECT_FALSE(dbms->CreatePageTimeListTable());
  EXPECT_EQ(server.Statements(), (Texts{kCount, kUsers, kAddUsers, kType, kConvert}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  cannot convert");
  Hold(true, L"timestamp without time zone");
  EXPECT_EQ(Create(), (Texts{kCount, kUsers, kType, kConvert}));
}

TEST_F(PageTimeList, AnIntervalOpensWithItsUsers) {
  EXPECT_TRUE(dbms->InsertPageTimeList(L"Page", 1700000000123, {L"op", L"\u674e \U0001F600", L""}));
  EXPECT_TRUE(dbms->InsertPageTimeList(L"Page", 1700000000000, {L"op"}));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"insert into pr_timelist values ('Page', to_timestamp(1700000000.123), NULL, array['op','\u674e \U0001F600',''])",
          L"insert into pr_timelist values ('Page', to_timestamp(1.7e+09), NULL, array['op'])"}));
  EXPECT_TRUE(server.sent.at(0).binds.empty());
}

TEST_F(PageTimeList, NoUsersAreANullList) {
  EXPECT_TRUE(dbms->InsertPageTimeList(L"Page", 0, {}));
  EXPECT_EQ(server.Statements(),
            Texts{L"insert into pr_timelist values ('Page', to_timestamp(0), NULL, null)"});
}

TEST_F(PageTimeList, KeepsQuotesInNamesAsTheyAre) {
  EXPECT_TRUE(dbms->InsertPageTimeList(L"it's", 1000, {L"o'p"}));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"it's", 2000));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"insert into pr_timelist values ('it's', to_timestamp(1), NULL, array['o'p'])",
          L"update pr_timelist set end_time=to_timestamp(2) where end_time is null and page_name='it's'"}));
}

TEST_F(PageTimeList, ARefusedIntervalLeavesItsError) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertPageTimeList(L"Page", 1000, {L"op"}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

TEST_F(PageTimeList, AnIntervalIsClosedInMilliseconds) {
  EXPECT_TRUE(dbms->ClosePageTimeList(L"Page", 1700000000123));
  EXPECT_TRUE(dbms->ClosePageTimeList(L"Page", 1700000000000));
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"update pr_timelist set end_time=to_timestamp(1700000000.123) where end_time is null and page_name='Page'",
          L"update pr_timelist set end_time=to_timestamp(1.7e+09) where end_time is null and page_name='Page'"}));
}

TEST_F(PageTimeList, TheTimestampTableIsCreated) {
  EXPECT_TRUE(dbms->CreatePageTimestampTable());
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"create table if not exists pr_timestamp (page_name text NOT NULL,time timestamptz NOT NULL,progresstime int NOT NULL,comment text,primary key (page_name,time,progresstime))"});
}

}  // namespace
