#include "scripted/ScriptedTest.h"

namespace {

using Values = std::unordered_map<std::wstring, std::vector<std::wstring>>;

constexpr wchar_t kCount[] =
    L"select count(*) from information_schema.tables where table_schema = 'public' and table_name = 'event_report_data'";
constexpr wchar_t kSheet[] =
    L"select column_name from information_schema.columns where table_name = 'event_report_data' and column_name = 'sheet'";
constexpr wchar_t kAddSheet[] = L"alter table event_report_data add column sheet text";
constexpr wchar_t kDropKey[] = L"alter table event_report_data drop constraint event_report_data_pkey";
constexpr wchar_t kAddKey[] =
    L"alter table event_report_data add constraint event_report_data_pkey primary key(time,model_name,sheet,cell)";
constexpr wchar_t kCreate[] =
    L"create table if not exists event_report_data (time timestamptz not null,model_name text not null,sheet text not null,cell text not null,value text not null,primary key(time,model_name,sheet,cell))";
constexpr wchar_t kSelect[] =
    L"select cell, value from event_report_data where model_name = 'M' and sheet = 'S' order by time";

class EventReport : public ScriptedTest {
 protected:
  Texts Create(bool succeeds = true) {
    server.Forget();
    EXPECT_EQ(dbms->CreateEventReportTable(), succeeds);
    return server.Statements();
  }
};

TEST_F(EventReport, AMissingTableIsCreated) {
  server.Answer(kCount, {{L"0"}});
  EXPECT_EQ(Create(), (Texts{kCount, kCreate}));
}

TEST_F(EventReport, ACurrentTableIsLeftAsItIs) {
  server.Answer(kCount, {{L"1"}});
  server.Answer(kSheet, {{L"sheet"}});
  EXPECT_EQ(Create(), (Texts{kCount, kSheet}));
}

TEST_F(EventReport, ATableWithoutSheetsGetsThemAndAKeyOverThem) {
  server.Answer(kCount, {{L"1"}});
  EXPECT_EQ(Create(), (Texts{kCount, kSheet, kAddSheet, kDropKey, kAddKey}));
}

TEST_F(EventReport, KeepsATableWhoseMigrationFailedWithoutItsKey) {
  server.Answer(kCount, {{L"1"}});
  server.FailStatement(5, {3, 7, L"ERROR:  column \"sheet\" contains null values"});
  EXPECT_EQ(Create(false), (Texts{kCount, kSheet, kAddSheet, kDropKey, kAddKey}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  column \"sheet\" contains null values");
  server.Answer(kSheet, {{L"sheet"}});
  EXPECT_EQ(Create(), (Texts{kCount, kSheet}));
}

TEST_F(EventReport, AModelIsDeletedWhole) {
  EXPECT_TRUE(dbms->DeleteEventReportData(L"M\u00e9"));
  EXPECT_EQ(server.Statements(), Texts{L"delete from event_report_data where model_name = 'M\u00e9'"});
}

TEST_F(EventReport, ACaptureIsOneStatement) {
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1700000000123,
                                          {{L"A1", L"it's"}, {L"B2", L""}, {L"C3", L"\U0001F600"}}));
  EXPECT_EQ(
      server.Statements(),
      Texts{
          L"insert into event_report_data (time,model_name,sheet,cell,value) values(to_timestamp(:1),'M','S',:2,:3),(to_timestamp(:4),'M','S',:5,:6),(to_timestamp(:7),'M','S',:8,:9)"});
  EXPECT_EQ(server.sent.at(0).binds,
            (Texts{L"float8 1700000000.123", L"text A1", L"text it's", L"float8 1700000000.123", L"text B2",
                   L"text ", L"float8 1700000000.123", L"text C3", L"text \U0001F600"}));
}

TEST_F(EventReport, ThousandsOfCellsAreStillOneStatement) {
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1700000000000,
                                          std::vector<EventReportCell>(5000, {L"A1", L"x"})));
  ASSERT_EQ(server.sent.size(), 1u);
  EXPECT_TRUE(server.sent.at(0).statement.ends_with(L",(to_timestamp(:14998),'M','S',:14999,:15000)"));
  ASSERT_EQ(server.sent.at(0).binds.size(), 15000u);
  EXPECT_EQ(server.sent.at(0).binds[14997], L"float8 1.7e+09");
  EXPECT_EQ(server.sent.at(0).binds[14999], L"text x");
}

TEST_F(EventReport, KeepsTheDamagedStatementOfAnEmptyCapture) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  syntax error"});
  EXPECT_FALSE(dbms->InsertEventReportData(L"M", L"S", 1000, {}));
  EXPECT_EQ(server.Statements(),
            Texts{L"insert into event_report_data (time,model_name,sheet,cell,value) value"});
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  syntax error");
}

TEST_F(EventReport, KeepsQuotesInModelAndSheetAsTheyAre) {
  Values values;
  dbms->DeleteEventReportData(L"it's");
  dbms->InsertEventReportData(L"a'b", L"c'd", 1000, {{L"A1", L"x"}});
  dbms->GetEventReportData(L"a'b", L"c'd", values);
  EXPECT_EQ(
      server.Statements(),
      (Texts{
          L"delete from event_report_data where model_name = 'it's'",
          L"insert into event_report_data (time,model_name,sheet,cell,value) values(to_timestamp(:1),'a'b','c'd',:2,:3)",
          L"select cell, value from event_report_data where model_name = 'a'b' and sheet = 'c'd' order by time"}));
}

TEST_F(EventReport, ValuesAreAppendedUnderTheirCells) {
  server.Answer(kSelect, {{L"A1", L"first"}, {L"B2", L""}, {L"A1", L"second"}});
  Values values = {{L"A1", {L"before"}}, {L"Z9", {}}};
  EXPECT_TRUE(dbms->GetEventReportData(L"M", L"S", values));
  EXPECT_EQ(server.Statements(), Texts{kSelect});
  EXPECT_EQ(values, (Values{{L"A1", {L"before", L"first", L"second"}}, {L"B2", {L""}}, {L"Z9", {}}}));
}

TEST_F(EventReport, NothingStoredLeavesTheMap) {
  Values values = {{L"A1", {L"before"}}};
  EXPECT_TRUE(dbms->GetEventReportData(L"M", L"S", values));
  EXPECT_EQ(values, (Values{{L"A1", {L"before"}}}));
}

TEST_F(EventReport, ValuesBeforeAFailureStay) {
  server.FailAfterRows(kSelect, {{L"A1", L"first"}, {L"A1", L"second"}}, 1);
  Values values;
  EXPECT_FALSE(dbms->GetEventReportData(L"M", L"S", values));
  EXPECT_EQ(values, (Values{{L"A1", {L"first"}}}));
}

}  // namespace
