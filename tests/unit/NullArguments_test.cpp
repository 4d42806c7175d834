// Null for a text or a result pointer that an operation needs.

#include <functional>

#include "DbmsAPI/Diagnostics.h"
#include "scripted/ScriptedTest.h"

namespace {

const std::vector<TagValueRecord> kTagValues = {{1000, L"A", L"1"}};

// Containers for results.
std::deque<std::vector<TagValueRecord>> queue = {kTagValues};
std::int64_t seconds = 0;
std::unordered_map<std::wstring, std::vector<ReportAnalogData>> analog = {{L"A", {}}};
std::unordered_map<std::wstring, std::vector<ReportDigitalData>> digital = {{L"A", {}}};
std::unordered_map<std::wstring, std::vector<std::wstring>> cells;
std::vector<RecipeRecord> recipes;
std::vector<UserLogRow> userLogRows;
std::vector<AlarmRecord> alarms;
std::wstring text;
int count = 0;

struct NullArgument {
  const char* operation;
  const wchar_t* argument;
  std::function<bool(Dbms&)> call;
};

// Every pointer parameter that must not be null, of every operation.
const std::vector<NullArgument> kNullArguments = {
    {"CreateUserLogTable", L"name",
     [](Dbms& d) {
       return d.CreateUserLogTable(nullptr, {{L"x", 0, 0}}, 0);
     }},
    {"InsertUserLogData", L"name",
     [](Dbms& d) {
       return d.InsertUserLogData(nullptr, {1000, {L"1"}});
     }},
    {"GetUserLogData", L"name",
     [](Dbms& d) { return d.GetUserLogData(nullptr, 1, 2, L"", {}, userLogRows); }},
    {"InsertAlarm", L"tagName", [](Dbms& d) { return d.InsertAlarm(1, nullptr, 1, L"", 1, 1, 1, 1, 1, 0); }},
    {"InsertAlarm", L"label", [](Dbms& d) { return d.InsertAlarm(1, L"A", 1, nullptr, 1, 1, 1, 1, 1, 0); }},
    {"GetAlarmData", L"tagPrefixes",
     [](Dbms& d) {
       return d.GetAlarmData(1, 2, -1, -1, -1, -1, {L"A", nullptr}, {}, alarms);
     }},
    {"CreateTagValueTable", L"tableName", [](Dbms& d) { return d.CreateTagValueTable(nullptr); }},
    {"PurgeTagValueTable", L"tableName", [](Dbms& d) { return d.PurgeTagValueTable(nullptr, 1); }},
    {"InsertTagValueQueue", L"tableName", [](Dbms& d) { return d.InsertTagValueQueue(nullptr, queue); }},
    {"InsertTagValues", L"tableName", [](Dbms& d) { return d.InsertTagValues(nullptr, kTagValues); }},
    {"InsertPageTimeList", L"pageName", [](Dbms& d) { return d.InsertPageTimeList(nullptr, 1, {L"op"}); }},
    {"ClosePageTimeList", L"pageName", [](Dbms& d) { return d.ClosePageTimeList(nullptr, 1); }},
    {"GetReportDataTime", L"kind", [](Dbms& d) { return d.GetReportDataTime(nullptr, L"day", &seconds); }},
    {"GetReportDataTime", L"period",
     [](Dbms& d) { return d.GetReportDataTime(L"analog", nullptr, &seconds); }},
    {"GetReportDataTime", L"epochSeconds",
     [](Dbms& d) { return d.GetReportDataTime(L"analog", L"day", nullptr); }},
    {"SetReportDataTime", L"kind", [](Dbms& d) { return d.SetReportDataTime(nullptr, L"day", 1); }},
    {"SetReportDataTime", L"period", [](Dbms& d) { return d.SetReportDataTime(L"analog", nullptr, 1); }},
    {"GetReportDataFirstTime", L"kind",
     [](Dbms& d) { return d.GetReportDataFirstTime(nullptr, L"day", &seconds); }},
    {"GetReportDataFirstTime", L"period",
     [](Dbms& d) { return d.GetReportDataFirstTime(L"analog", nullptr, &seconds); }},
    {"GetReportDataFirstTime", L"epochSeconds",
     [](Dbms& d) { return d.GetReportDataFirstTime(L"analog", L"day", nullptr); }},
    {"InsertReportDigitalData", L"period", [](Dbms& d) { return d.InsertReportDigitalData(nullptr, {{}}); }},
    {"InsertReportAnalogData", L"period", [](Dbms& d) { return d.InsertReportAnalogData(nullptr, {{}}); }},
    {"GetReportDigitalData", L"period",
     [](Dbms& d) { return d.GetReportDigitalData(nullptr, 1, 2, digital); }},
    {"GetReportAnalogData", L"period", [](Dbms& d) { return d.GetReportAnalogData(nullptr, 1, 2, analog); }},
    {"DeleteEventReportData", L"modelName", [](Dbms& d) { return d.DeleteEventReportData(nullptr); }},
    {"InsertEventReportData", L"modelName",
     [](Dbms& d) {
       return d.InsertEventReportData(nullptr, L"S", 1, {{L"A1", L"x"}});
     }},
    {"InsertEventReportData", L"sheet",
     [](Dbms& d) {
       return d.InsertEventReportData(L"M", nullptr, 1, {{L"A1", L"x"}});
     }},
    {"GetEventReportData", L"modelName", [](Dbms& d) { return d.GetEventReportData(nullptr, L"S", cells); }},
    {"GetEventReportData", L"sheet", [](Dbms& d) { return d.GetEventReportData(L"M", nullptr, cells); }},
    {"CreateGridTable", L"table", [](Dbms& d) { return d.CreateGridTable(nullptr, 2); }},
    {"DropGridTable", L"table", [](Dbms& d) { return d.DropGridTable(nullptr); }},
    {"InsertEmptyGridRows", L"table", [](Dbms& d) { return d.InsertEmptyGridRows(nullptr, 2, 3); }},
    {"UpdateGridCell", L"table", [](Dbms& d) { return d.UpdateGridCell(nullptr, 1, 1, L"x"); }},
    {"UpdateGridCell", L"value", [](Dbms& d) { return d.UpdateGridCell(L"grid", 1, 1, nullptr); }},
    {"AppendGridRow", L"table", [](Dbms& d) { return d.AppendGridRow(nullptr, L"'a'"); }},
    {"AppendGridRow", L"values", [](Dbms& d) { return d.AppendGridRow(L"grid", nullptr); }},
    {"GetGridCell", L"table", [](Dbms& d) { return d.GetGridCell(nullptr, 1, 1, text); }},
    {"GetGridRowCount", L"table", [](Dbms& d) { return d.GetGridRowCount(nullptr, count); }},
    {"ClearGridTable", L"table", [](Dbms& d) { return d.ClearGridTable(nullptr); }},
    {"UpdateNetworkStatus", L"station",
     [](Dbms& d) { return d.UpdateNetworkStatus(nullptr, L"up", L"1", 1, 2, 3, 4, 5, 6); }},
    {"UpdateNetworkStatus", L"status",
     [](Dbms& d) { return d.UpdateNetworkStatus(L"S", nullptr, L"1", 1, 2, 3, 4, 5, 6); }},
    {"UpdateNetworkStatus", L"address",
     [](Dbms& d) { return d.UpdateNetworkStatus(L"S", L"up", nullptr, 1, 2, 3, 4, 5, 6); }},
    {"SaveRecipe", L"model", [](Dbms& d) { return d.SaveRecipe(nullptr, L"n", L"{}", L"d"); }},
    {"SaveRecipe", L"name", [](Dbms& d) { return d.SaveRecipe(L"m", nullptr, L"{}", L"d"); }},
    {"SaveRecipe", L"fields", [](Dbms& d) { return d.SaveRecipe(L"m", L"n", nullptr, L"d"); }},
    {"GetRecipes", L"model", [](Dbms& d) { return d.GetRecipes(nullptr, L"n", recipes); }},
    {"DeleteRecipe", L"model", [](Dbms& d) { return d.DeleteRecipe(nullptr, L"n"); }},
    {"DeleteRecipe", L"name", [](Dbms& d) { return d.DeleteRecipe(L"m", nullptr); }},
    {"CompressChunk", L"chunk", [](Dbms& d) { return d.CompressChunk(nullptr); }},
};

class NullArguments : public ScriptedTest {};

TEST_F(NullArguments, EndTheOperationBeforeAnythingIsSent) {
  for (const DbmsType type : {DbmsType::TirelScada, DbmsType::PostgreSQL}) {
    for (const NullArgument& null : kNullArguments) {
      SCOPED_TRACE(testing::Message() << null.operation << ", type " << static_cast<int>(type));
      server.Forget();
      debugLines.clear();
      const auto object = NewDbms(type);
      EXPECT_FALSE(null.call(*object));
      const std::wstring expected = std::wstring(L"The argument ") + null.argument + L" is null";
      EXPECT_EQ(object->GetLastError(), expected);
      EXPECT_EQ(LastSqlState(*object), "");
      EXPECT_EQ(debugLines, Texts{L"on exception(2, 0) - " + expected + L"\n"});
      EXPECT_EQ(server.connects.size(), 1u);
      EXPECT_TRUE(server.sent.empty());
    }
  }
}

TEST_F(NullArguments, AColumnOfAUserLogNeedsAName) {
  EXPECT_FALSE(dbms->CreateUserLogTable(L"log", {{L"x", 0, 0}, {nullptr, 0, 0}}, 0));
  EXPECT_STREQ(dbms->GetLastError(), L"The argument columns is null");
  EXPECT_TRUE(server.sent.empty());
}

TEST_F(NullArguments, OptionalTextsMayBeNull) {
  ASSERT_TRUE(dbms->GetUserLogData(L"log", 1, 2, nullptr, {}, userLogRows));
  EXPECT_EQ(
      server.sent.back().statement,
      L"select * from user_log where time >= to_timestamp(1) and time <= to_timestamp(2) order by time");
  ASSERT_TRUE(dbms->SaveRecipe(L"m", L"n", L"{}", nullptr));
  EXPECT_EQ(server.sent.back().binds.back(), L"null");
  ASSERT_TRUE(dbms->GetRecipes(L"m", nullptr, recipes));
  EXPECT_EQ(server.sent.back().statement,
            L"select name,fields,description from recipe where model_name = :1");
}

}  // namespace
