#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;
using Cells = std::vector<EventReportCell>;
using Values = std::unordered_map<std::wstring, std::vector<std::wstring>>;

constexpr char kColumns[] =
    "select column_name, data_type, is_nullable from information_schema.columns where table_name = "
    "'event_report_data' order by ordinal_position";

constexpr char kKey[] =
    "select conname, pg_get_constraintdef(oid) from pg_constraint where conrelid = "
    "'event_report_data'::regclass and contype = 'p'";

constexpr char kCreateOld[] =
    "create table event_report_data (time timestamptz not null,model_name text not null,cell text not null,"
    "value text not null,primary key(time,model_name,cell))";

constexpr char kCount[] = "select count(*) from event_report_data";

const Lines kCurrentKey = {"event_report_data_pkey|PRIMARY KEY (\"time\", model_name, sheet, cell)"};

// 65,538 parameters, more than the protocol allows.
constexpr std::size_t kTooManyCells = 21846;

class EventReport : public DbmsTest {
 protected:
  std::shared_ptr<Dbms> NewReport() {
    auto dbms = NewDbms();
    EXPECT_TRUE(dbms->CreateEventReportTable());
    return dbms;
  }
};

Cells ManyCells(std::size_t count) {
  Cells cells;
  for (std::size_t i = 0; i < count; ++i) cells.push_back({L"A" + std::to_wstring(i), std::to_wstring(i)});
  return cells;
}

Values Get(Dbms& dbms, const wchar_t* model, const wchar_t* sheet) {
  Values values;
  EXPECT_TRUE(dbms.GetEventReportData(model, sheet, values));
  return values;
}

TEST_F(EventReport, AFreshTableHasItsLayout) {
  NewReport();
  EXPECT_EQ(Rows(kColumns), (Lines{"time|timestamp with time zone|NO", "model_name|text|NO", "sheet|text|NO",
                                   "cell|text|NO", "value|text|NO"}));
  EXPECT_EQ(Rows(kKey), kCurrentKey);
}

TEST_F(EventReport, ACurrentTableKeepsItsRows) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}}));
  EXPECT_TRUE(dbms->CreateEventReportTable());
  EXPECT_EQ(Value(kCount), "1");
  EXPECT_EQ(Rows(kKey), kCurrentKey);
}

TEST_F(EventReport, AnEmptyTableWithoutSheetsIsMigrated) {
  Run(kCreateOld);
  const auto dbms = NewReport();
  EXPECT_EQ(Rows(kColumns), (Lines{"time|timestamp with time zone|NO", "model_name|text|NO", "cell|text|NO",
                                   "value|text|NO", "sheet|text|NO"}));
  EXPECT_EQ(Rows(kKey), kCurrentKey);
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"T", 1000, {{L"A1", L"y"}}));
  EXPECT_EQ(Get(*dbms, L"M", L"T"), (Values{{L"A1", {L"y"}}}));
}

TEST_F(EventReport, KeepsATableWhoseMigrationFailedWithoutItsKey) {
  Run(kCreateOld);
  Run("insert into event_report_data values (now(), 'M', 'A1', 'x')");
  const auto dbms = NewDbms();
  EXPECT_FALSE(dbms->CreateEventReportTable());
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"contains null values"), std::wstring::npos);
  EXPECT_TRUE(dbms->CreateEventReportTable());
  EXPECT_EQ(Rows(kColumns), (Lines{"time|timestamp with time zone|NO", "model_name|text|NO", "cell|text|NO",
                                   "value|text|NO", "sheet|text|YES"}));
  EXPECT_EQ(Rows(kKey), Lines{});
  EXPECT_EQ(Value(kCount), "1");
}

TEST_F(EventReport, CapturesAreReadInTimeOrder) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1700000000124, {{L"A1", L"third"}, {L"B2", L"it's"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1700000000122, {{L"A1", L"first"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1700000000123, {{L"A1", L"second"}, {L"C3", L""}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"T", 1700000000123, {{L"A1", L"other sheet"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"N", L"S", 1700000000123, {{L"A1", L"other model"}}));
  Values values = {{L"A1", {L"before"}}};
  EXPECT_TRUE(dbms->GetEventReportData(L"M", L"S", values));
  EXPECT_EQ(
      values,
      (Values{{L"A1", {L"before", L"first", L"second", L"third"}}, {L"B2", {L"it's"}}, {L"C3", {L""}}}));
  EXPECT_EQ(Get(*dbms, L"M", L"unknown"), Values{});
}

TEST_F(EventReport, ACaptureWithACellInCommonIsRejectedWhole) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}, {L"B2", L"x"}}));
  EXPECT_FALSE(dbms->InsertEventReportData(L"M", L"S", 1000, {{L"C3", L"y"}, {L"B2", L"y"}}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"event_report_data_pkey"), std::wstring::npos);
  EXPECT_EQ(Get(*dbms, L"M", L"S"), (Values{{L"A1", {L"x"}}, {L"B2", {L"x"}}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1001, {{L"B2", L"y"}}));
}

TEST_F(EventReport, AModelIsDeletedWithAllItsSheets) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, {{L"A1", L"x"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"T", 2000, {{L"A1", L"x"}}));
  EXPECT_TRUE(dbms->InsertEventReportData(L"N", L"S", 1000, {{L"A1", L"x"}}));
  EXPECT_TRUE(dbms->DeleteEventReportData(L"M"));
  EXPECT_TRUE(dbms->DeleteEventReportData(L"M"));
  EXPECT_EQ(Rows("select model_name from event_report_data"), Lines{"N"});
}

TEST_F(EventReport, MillisecondsGoThereAndBack) {
  const auto dbms = NewReport();
  Lines expected;
  for (const std::int64_t time :
       {std::int64_t{-1}, std::int64_t{0}, std::int64_t{1}, std::int64_t{1700000000000},
        std::int64_t{1700000000123}, std::int64_t{253402300799999}}) {
    EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", time, {{L"A1", L"x"}}));
    expected.push_back(std::to_string(time));
  }
  EXPECT_EQ(Rows("select (extract(epoch from time) * 1000)::bigint from event_report_data order by time"),
            expected);
}

TEST_F(EventReport, TextsOfEveryPlaneGoThereAndBack) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(kEveryPlane, kEveryPlane, 1000, {{kEveryPlane, kEveryPlane}}));
  EXPECT_EQ(Get(*dbms, kEveryPlane, kEveryPlane), (Values{{kEveryPlane, {kEveryPlane}}}));
  EXPECT_EQ(Value(std::string("select count(*) from event_report_data where model_name = ") + kEveryPlaneSql +
                  " and sheet = model_name and cell = model_name and value = model_name"),
            "1");
  EXPECT_TRUE(dbms->DeleteEventReportData(kEveryPlane));
  EXPECT_EQ(Value(kCount), "0");
}

TEST_F(EventReport, ThousandsOfCellsAreOneCapture) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, ManyCells(10000)));
  EXPECT_EQ(Rows("select count(*), count(distinct xmin::text), sum(value::int) from event_report_data"),
            Lines{"10000|1|49995000"});
}

TEST_F(EventReport, ACaptureOfTooManyCellsIsRejectedWhole) {
  const auto dbms = NewReport();
  EXPECT_TRUE(dbms->InsertEventReportData(L"M", L"S", 1000, ManyCells(kTooManyCells - 1)));
  EXPECT_FALSE(dbms->InsertEventReportData(L"M", L"S", 2000, ManyCells(kTooManyCells)));
  EXPECT_STRNE(dbms->GetLastError(), L"");
  EXPECT_EQ(Value(kCount), std::to_string(kTooManyCells - 1));
}

TEST_F(EventReport, KeepsTheDamagedStatementOfAnEmptyCapture) {
  const auto dbms = NewReport();
  EXPECT_FALSE(dbms->InsertEventReportData(L"M", L"S", 1000, {}));
  EXPECT_NE(std::wstring(dbms->GetLastError()).find(L"syntax error"), std::wstring::npos);
}

TEST_F(EventReport, KeepsAQuoteInModelOrSheetBreakingItsStatement) {
  const auto dbms = NewReport();
  Values values;
  EXPECT_FALSE(dbms->InsertEventReportData(L"it's", L"S", 1000, {{L"A1", L"x"}}));
  EXPECT_FALSE(dbms->InsertEventReportData(L"M", L"it's", 1000, {{L"A1", L"x"}}));
  EXPECT_FALSE(dbms->GetEventReportData(L"it's", L"S", values));
  EXPECT_FALSE(dbms->GetEventReportData(L"M", L"it's", values));
  EXPECT_FALSE(dbms->DeleteEventReportData(L"it's"));
  EXPECT_EQ(Value(kCount), "0");
}

}  // namespace
