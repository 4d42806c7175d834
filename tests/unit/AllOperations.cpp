#include "AllOperations.h"

namespace {

const std::vector<UserLogColumn> kColumns = {{L"n", 0, 0}, {L"x", 1, 0}};
const std::vector<LogSample> kSamples = {{1700000000123, L"A", 1.5}};
const std::vector<TagValueRecord> kTagValues = {{1700000000123, L"A", L"1"}};
const ReportAnalogData kAnalog = {1700000000, L"A", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16};
const ReportDigitalData kDigital = {1700000000, L"A", 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12};
const std::vector<EventReportCell> kCells = {{L"A1", L"x"}};
const UserRecord kUser = {L"op", L"Operator", L"p", L"q", 1,    2, L"g", L"r", 1,
                          0,     L"n",        0,    0,    L"d", 3, 0,    L"t"};
const SystemLogRecord kRecord = {1700000000123, 1, 2, 3, 4, L"op", L"message"};
const NetworkStatusRecord kStation = {L"S", L"1.2.3.4", L"d", L"up", 1, 2, 3, 4, 5, 6};

GooseMessageRecord Message() {
  GooseMessageRecord message;
  message.GOOSE_ControlBlock_Ref = L"CB";
  message.invalidityTime = L"1700000000123";
  return message;
}

template <class Record>
bool Query(bool (Dbms::*operation)(const wchar_t*, std::int64_t, std::int64_t,
                                   std::unordered_map<std::wstring, std::vector<Record>>&),
           Dbms& dbms) {
  std::unordered_map<std::wstring, std::vector<Record>> data = {{L"A", {}}};
  return (dbms.*operation)(L"hour", 1, 2, data);
}

bool WatermarkOf(bool (Dbms::*operation)(const wchar_t*, const wchar_t*, std::int64_t*), Dbms& dbms) {
  std::int64_t time = 0;
  return (dbms.*operation)(L"analog", L"hour", &time);
}

}  // namespace

const std::vector<OperationCall>& AllOperations() {
  static const std::vector<OperationCall> operations = {
      {1, "Connect", [](Dbms& d) { return d.Connect(); }},
      {2, "GetServerVersion",
       [](Dbms& d) {
         std::wstring text;
         return d.GetServerVersion(text);
       }},
      {3, "CreateLogTable", [](Dbms& d) { return d.CreateLogTable(10); }},
      {4, "GetOldestLogTime",
       [](Dbms& d) {
         std::int64_t time = 0;
         return d.GetOldestLogTime(time);
       }},
      {5, "InsertLogData", [](Dbms& d) { return d.InsertLogData(kSamples); }},
      {6, "GetLogData",
       [](Dbms& d) {
         std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"A", {}}};
         return d.GetLogData(1, 2, data);
       }},
      {7, "CreateUserLogTable", [](Dbms& d) { return d.CreateUserLogTable(L"batch", kColumns, 10); }},
      {8, "InsertUserLogData",
       [](Dbms& d) {
         return d.InsertUserLogData(L"batch", {1700000000123, {L"1", L"2"}});
       }},
      {9, "GetUserLogData",
       [](Dbms& d) {
         std::vector<UserLogRow> rows;
         return d.GetUserLogData(L"batch", 1, 2, L"x > :1", {1.5}, rows);
       }},
      {10, "CreateAlarmTable", [](Dbms& d) { return d.CreateAlarmTable(10); }},
      {11, "InsertAlarm",
       [](Dbms& d) {
         return d.InsertAlarm(1700000000123, L"A", 1.5, L"high", 0, 1, 2, 3, 1700000000123, 0);
       }},
      {12, "GetAlarmData",
       [](Dbms& d) {
         std::vector<AlarmRecord> records;
         return d.GetAlarmData(1, 2, 1, 1, 2, 1, {L"A"}, {}, records);
       }},
      {13, "GetAllAlarmData",
       [](Dbms& d) {
         std::vector<AlarmRecord> records;
         return d.GetAllAlarmData(1, 2, records);
       }},
      {14, "CreateTagValueTable", [](Dbms& d) { return d.CreateTagValueTable(L"Page"); }},
      {15, "PurgeTagValueTable", [](Dbms& d) { return d.PurgeTagValueTable(L"Page", 30); }},
      {16, "InsertTagValueQueue",
       [](Dbms& d) {
         std::deque<std::vector<TagValueRecord>> queue = {kTagValues};
         return d.InsertTagValueQueue(L"Page", queue);
       }},
      {17, "InsertTagValues", [](Dbms& d) { return d.InsertTagValues(L"Page", kTagValues); }},
      {18, "CreatePageTimeListTable", [](Dbms& d) { return d.CreatePageTimeListTable(); }},
      {19, "InsertPageTimeList", [](Dbms& d) { return d.InsertPageTimeList(L"Page", 1000, {L"op"}); }},
      {20, "ClosePageTimeList", [](Dbms& d) { return d.ClosePageTimeList(L"Page", 2000); }},
      {21, "CreatePageTimestampTable", [](Dbms& d) { return d.CreatePageTimestampTable(); }},
      {22, "CreateReportDataTables", [](Dbms& d) { return d.CreateReportDataTables(10); }},
      {23, "GetReportDataTime", [](Dbms& d) { return WatermarkOf(&Dbms::GetReportDataTime, d); }},
      {24, "SetReportDataTime", [](Dbms& d) { return d.SetReportDataTime(L"analog", L"hour", 1); }},
      {25, "GetReportDataFirstTime", [](Dbms& d) { return WatermarkOf(&Dbms::GetReportDataFirstTime, d); }},
      {26, "InsertReportDigitalData", [](Dbms& d) { return d.InsertReportDigitalData(L"hour", {kDigital}); }},
      {27, "InsertReportAnalogData", [](Dbms& d) { return d.InsertReportAnalogData(L"hour", {kAnalog}); }},
      {28, "GetReportDigitalData", [](Dbms& d) { return Query(&Dbms::GetReportDigitalData, d); }},
      {29, "GetReportAnalogData", [](Dbms& d) { return Query(&Dbms::GetReportAnalogData, d); }},
      {30, "CreateEventReportTable", [](Dbms& d) { return d.CreateEventReportTable(); }},
      {31, "DeleteEventReportData", [](Dbms& d) { return d.DeleteEventReportData(L"M"); }},
      {32, "InsertEventReportData",
       [](Dbms& d) { return d.InsertEventReportData(L"M", L"S", 1000, kCells); }},
      {33, "GetEventReportData",
       [](Dbms& d) {
         std::unordered_map<std::wstring, std::vector<std::wstring>> values;
         return d.GetEventReportData(L"M", L"S", values);
       }},
      {34, "CreateAuditTable", [](Dbms& d) { return d.CreateAuditTable(); }},
      {35, "CreateUserTables", [](Dbms& d) { return d.CreateUserTables(); }},
      {36, "DeleteAllUsers", [](Dbms& d) { return d.DeleteAllUsers(); }},
      {37, "InsertUsers",
       [](Dbms& d) {
         return d.InsertUsers({kUser, kUser});
       }},
      {38, "GetUsers",
       [](Dbms& d) {
         std::vector<UserRecord> users;
         return d.GetUsers(users);
       }},
      {39, "GetLoggedInUserIds",
       [](Dbms& d) {
         std::vector<std::wstring> ids;
         return d.GetLoggedInUserIds(ids);
       }},
      {40, "CreateSystemLogTable", [](Dbms& d) { return d.CreateSystemLogTable(10); }},
      {41, "InsertSystemLog",
       [](Dbms& d) {
         return d.InsertSystemLog({kRecord, kRecord}) == 2;
       }},
      {42, "CreateGridTable", [](Dbms& d) { return d.CreateGridTable(L"grid", 2); }},
      {43, "DropGridTable", [](Dbms& d) { return d.DropGridTable(L"grid"); }},
      {44, "InsertEmptyGridRows", [](Dbms& d) { return d.InsertEmptyGridRows(L"grid", 2, 3); }},
      {45, "UpdateGridCell", [](Dbms& d) { return d.UpdateGridCell(L"grid", 1, 1, L"x"); }},
      {46, "AppendGridRow", [](Dbms& d) { return d.AppendGridRow(L"grid", L"'a', 'b'"); }},
      {47, "GetGridCell",
       [](Dbms& d) {
         std::wstring value;
         return d.GetGridCell(L"grid", 1, 1, value);
       }},
      {48, "GetGridRowCount",
       [](Dbms& d) {
         int count = 0;
         return d.GetGridRowCount(L"grid", count);
       }},
      {49, "ClearGridTable", [](Dbms& d) { return d.ClearGridTable(L"grid"); }},
      {50, "CreateNetworkTable", [](Dbms& d) { return d.CreateNetworkTable(); }},
      {51, "InsertNetworkStatus", [](Dbms& d) { return d.InsertNetworkStatus({kStation}); }},
      {52, "UpdateNetworkStatus",
       [](Dbms& d) { return d.UpdateNetworkStatus(L"S", L"up", L"1.2.3.4", 1, 2, 3, 4, 5, 6); }},
      {53, "DeleteAllNetworkStatus", [](Dbms& d) { return d.DeleteAllNetworkStatus(); }},
      {54, "CreateCommentTable", [](Dbms& d) { return d.CreateCommentTable(); }},
      {55, "DeleteAllComments", [](Dbms& d) { return d.DeleteAllComments(); }},
      {56, "InsertComments",
       [](Dbms& d) {
         return d.InsertComments({{1, 2, 3, L"c", L"f"}, {1, 2, 4, L"c", L""}});
       }},
      {57, "CreateRecipeGroupTable", [](Dbms& d) { return d.CreateRecipeGroupTable(); }},
      {58, "DeleteAllRecipeGroups", [](Dbms& d) { return d.DeleteAllRecipeGroups(); }},
      {59, "InsertRecipeGroups",
       [](Dbms& d) {
         return d.InsertRecipeGroups({{L"m", L"g", L"{}"}, {L"m", L"h", L"{}"}});
       }},
      {60, "CreateRecipeTable", [](Dbms& d) { return d.CreateRecipeTable(); }},
      {61, "SaveRecipe", [](Dbms& d) { return d.SaveRecipe(L"m", L"n", L"{}", L"d"); }},
      {62, "GetRecipes",
       [](Dbms& d) {
         std::vector<RecipeRecord> r;
         return d.GetRecipes(L"m", nullptr, r);
       }},
      {63, "DeleteRecipe", [](Dbms& d) { return d.DeleteRecipe(L"m", L"n"); }},
      {64, "CreateGooseTable", [](Dbms& d) { return d.CreateGooseTable(); }},
      {65, "ResetGooseLog", [](Dbms& d) { return d.ResetGooseLog(); }},
      {66, "InsertGooseMessage", [](Dbms& d) { return d.InsertGooseMessage(Message()); }},
      {67, "CreateSignatureTable", [](Dbms& d) { return d.CreateSignatureTable(); }},
      {68, "GetUncompressedChunkMap",
       [](Dbms& d) {
         std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
         return d.GetUncompressedChunkMap(chunks);
       }},
      {69, "CompressChunk",
       [](Dbms& d) { return d.CompressChunk(L"_timescaledb_internal._hyper_1_1_chunk"); }},
  };
  return operations;
}
