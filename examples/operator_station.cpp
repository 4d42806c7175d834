// A small operator station: what a SCADA program does with the library, in the order of a real start-up. It
// uses operations of every group and prints what it finds.
//
//   operator_station HOST PORT DATABASE USER PASSWORD

#include <DbmsAPI/Dbms.h>

#include <cfloat>
#include <chrono>
#include <iostream>
#include <stdexcept>

namespace {

constexpr int kRetentionDays = 90;
constexpr wchar_t kPump[] = L"PUMP.SPEED";
constexpr wchar_t kTank[] = L"TANK.LEVEL";
constexpr wchar_t kPage[] = L"shift_report";

// Ends the program with the database's message when a step has failed.
void Check(bool done, const char* step, Dbms& dbms) {
  if (done) return;
  std::wcerr << step << L": " << dbms.GetLastError() << std::endl;
  throw std::runtime_error(step);
}

void Print(const wchar_t* what, const auto&... parts) {
  std::wcout << what << L": ";
  (std::wcout << ... << parts) << std::endl;
}

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The system log comes first: it detects TimescaleDB, which the later tables use.
void CreateTables(Dbms& dbms) {
  Check(dbms.CreateSystemLogTable(kRetentionDays), "system log", dbms);
  Check(dbms.CreateLogTable(kRetentionDays), "tag history", dbms);
  Check(dbms.CreateAlarmTable(kRetentionDays), "alarms", dbms);
  Check(dbms.CreateUserLogTable(L"batches", {{L"number", 0, 0}, {L"litres", 1, 0}, {L"product", 2, 20}},
                                kRetentionDays),
        "user log", dbms);
  Check(dbms.CreatePageTimeListTable() && dbms.CreatePageTimestampTable(), "page lists", dbms);
  Check(dbms.CreateTagValueTable(kPage), "page values", dbms);
  Check(dbms.CreateReportDataTables(kRetentionDays), "reports", dbms);
  Check(dbms.CreateEventReportTable(), "event reports", dbms);
  Check(dbms.CreateAuditTable(), "audit trail", dbms);
  Check(dbms.CreateUserTables(), "users", dbms);
  Check(dbms.CreateSignatureTable(), "signatures", dbms);
  Check(dbms.CreateNetworkTable(), "network status", dbms);
  Check(dbms.CreateCommentTable() && dbms.CreateRecipeGroupTable() && dbms.CreateRecipeTable(), "recipes",
        dbms);
  Check(dbms.CreateGooseTable(), "GOOSE messages", dbms);
  dbms.CreateGridTable(L"grid_overview", 2);  // first tries to drop a table that does not exist yet
}

// Somebody signs on; the list of accounts is always replaced as a whole.
void SignOn(Dbms& dbms, std::int64_t nowMs) {
  UserRecord user;
  user.id = L"op1";
  user.username = L"Operator One";
  user.is_now_login = 1;
  user.login_date = static_cast<std::int32_t>(nowMs / 1000);
  user.operator_node = L"station-1";
  Check(dbms.DeleteAllUsers() && dbms.InsertUsers({user}), "sign on", dbms);
  Check(dbms.InsertSystemLog({{nowMs, 1, 10, 0, 100, L"op1", L"station started"}}) == 1, "log the start",
        dbms);
  Check(dbms.InsertPageTimeList(kPage, nowMs, {L"op1"}), "open the page", dbms);

  std::vector<std::wstring> ids;
  Check(dbms.GetLoggedInUserIds(ids), "who is here", dbms);
  for (const std::wstring& id : ids) Print(L"signed on", id);
}

// A quarter of an hour of two tags, once a second; the level has gaps.
std::vector<LogSample> Measure(std::int64_t fromMs) {
  std::vector<LogSample> samples;
  for (int second = 0; second < 900; ++second) {
    const std::int64_t timeMs = fromMs + second * 1000;
    samples.push_back({timeMs, kPump, 1450.0 + second % 60});
    samples.push_back({timeMs, kTank, second % 300 == 0 ? DBL_MAX : 2.0 + 0.001 * second});
  }
  return samples;
}

void Record(Dbms& dbms, std::int64_t fromMs) {
  Check(dbms.InsertLogData(Measure(fromMs)), "store samples", dbms);
  const std::int64_t alarmMs = fromMs + 600'000;
  Check(dbms.InsertAlarm(alarmMs, kTank, 2.6, L"level high", 0, 1, 5, 0, alarmMs, 0), "raise an alarm", dbms);
  Check(dbms.InsertAlarm(alarmMs + 60'000, kTank, 2.4, L"level high", 1, 1, 5, 0, alarmMs, alarmMs + 60'000),
        "clear it", dbms);
  Check(dbms.InsertUserLogData(L"batches", {alarmMs, {L"17", L"1250.5", L"'lemonade'"}}), "log a batch",
        dbms);
  Check(dbms.InsertTagValues(kPage, {{fromMs, kPump, L"1450 rpm"}, {fromMs, kTank, L"2.00 m"}}),
        "page values", dbms);
  Check(dbms.InsertEventReportData(L"alarms", L"sheet1", alarmMs, {{L"A1", L"level high"}, {L"B1", L"2.6"}}),
        "event report", dbms);
}

// The hour's statistics of the pump, from the samples that were stored.
void Aggregate(Dbms& dbms, std::int64_t fromMs) {
  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{kPump, {}}};
  Check(dbms.GetLogData(fromMs / 1000, fromMs / 1000 + 900, data), "read samples", dbms);
  const std::vector<LogPoint>& points = data[kPump];

  ReportAnalogData row;
  row.time = fromMs / 1000 / 3600 * 3600;
  row.tag_name = kPump;
  row.min = row.max = row.first = points.front().value;
  row.last = points.back().value;
  for (const LogPoint& point : points) {
    ++row.count;
    row.sum += point.value;
    row.min = std::min(row.min, point.value);
    row.max = std::max(row.max, point.value);
  }
  row.avg = row.sum / row.count;
  row.diff = row.last - row.first;
  Check(dbms.InsertReportAnalogData(L"hour", {row}), "store the hour", dbms);
  Check(dbms.SetReportDataTime(L"analog", L"hour", row.time + 3600), "move the watermark", dbms);
  Print(L"pump", row.count, L" samples, mean ", row.avg, L", ", row.min, L" to ", row.max);
}

void Configure(Dbms& dbms) {
  Check(dbms.DeleteAllNetworkStatus() &&
            dbms.InsertNetworkStatus(
                {{L"PLC-1", L"10.0.0.11", L"pump house", L"up", 900, 0, 100, 3, 0, 100}}) &&
            dbms.UpdateNetworkStatus(L"PLC-1", L"up", L"10.0.0.11", 1800, 1, 99, 6, 0, 100),
        "network status", dbms);
  Check(dbms.DeleteAllComments() && dbms.InsertComments({{1, 1, 1, L"check the gasket", L""}}), "comments",
        dbms);
  Check(dbms.DeleteAllRecipeGroups() &&
            dbms.InsertRecipeGroups({{L"mixer", L"drinks", L"[\"sugar\",\"water\"]"}}),
        "recipe groups", dbms);
  Check(dbms.SaveRecipe(L"mixer", L"lemonade", L"{\"sugar\": 80, \"water\": 920}", L"house blend"),
        "save a recipe", dbms);
  Check(dbms.ClearGridTable(L"grid_overview") && dbms.AppendGridRow(L"grid_overview", L"'pump', 'running'") &&
            dbms.UpdateGridCell(L"grid_overview", 2, 1, L"stopped"),
        "grid", dbms);

  GooseMessageRecord message;
  message.GOOSE_ControlBlock_Ref = L"IED1/LLN0$GO$gcb1";
  message.invalidityTime = std::to_wstring(NowMs());
  Check(dbms.ResetGooseLog() && dbms.InsertGooseMessage(message), "GOOSE message", dbms);
}

void Show(Dbms& dbms, std::int64_t fromMs, std::int64_t toMs) {
  std::vector<AlarmRecord> alarms;
  Check(dbms.GetAlarmData(fromMs / 1000, toMs / 1000, 0xF, 0x1FFF, -2, -1, {L"TANK"}, {}, alarms), "alarms",
        dbms);
  for (const AlarmRecord& alarm : alarms) {
    Print(L"alarm", alarm.tagName, L" ", alarm.label, alarm.freeTimeMs > 0 ? L", cleared" : L"");
  }

  std::vector<UserLogRow> batches;
  Check(dbms.GetUserLogData(L"batches", fromMs / 1000, toMs / 1000, L"litres > :1", {1000.0}, batches),
        "batches", dbms);
  for (const UserLogRow& batch : batches) Print(L"batch", batch.values[0], L", ", batch.values[2]);

  std::vector<RecipeRecord> recipes;
  Check(dbms.GetRecipes(L"mixer", nullptr, recipes), "recipes", dbms);
  for (const RecipeRecord& recipe : recipes) Print(L"recipe", recipe.name, L" ", recipe.fields);

  std::unordered_map<std::wstring, std::vector<std::wstring>> cells;
  Check(dbms.GetEventReportData(L"alarms", L"sheet1", cells), "event report", dbms);
  Print(L"event report", cells[L"A1"].front());

  std::wstring state;
  Check(dbms.GetGridCell(L"grid_overview", 2, 1, state), "grid", dbms);
  Print(L"pump state", state);
}

void SignOff(Dbms& dbms, std::int64_t nowMs) {
  Check(dbms.ClosePageTimeList(kPage, nowMs), "close the page", dbms);
  std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
  if (dbms.GetUncompressedChunkMap(chunks)) {
    for (const auto& [table, names] : chunks) {
      Print(L"compressing", table);
      for (const std::wstring& chunk : names) Check(dbms.CompressChunk(chunk.c_str()), "compress", dbms);
    }
  }
  Check(dbms.InsertSystemLog({{nowMs, 1, 10, 0, 101, L"op1", L"station stopped"}}) == 1, "log the end", dbms);
}

int Run(Dbms& dbms) {
  std::wstring version;
  Check(dbms.GetServerVersion(version), "server", dbms);
  Print(L"server", version.substr(0, version.find(L" on ")));

  const std::int64_t now = NowMs();
  const std::int64_t fromMs = now - 3600'000;
  CreateTables(dbms);
  SignOn(dbms, now);
  Record(dbms, fromMs);
  Aggregate(dbms, fromMs);
  Configure(dbms);
  Show(dbms, fromMs, now);
  SignOff(dbms, now + 1);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 6) {
    std::wcerr << L"usage: operator_station HOST PORT DATABASE USER PASSWORD" << std::endl;
    return 2;
  }
  const auto wide = [](std::string text) { return std::wstring(text.begin(), text.end()); };
  const auto dbms = Dbms::GetDbms(DbmsType::PostgreSQL, wide(argv[1]).c_str(), std::stoi(argv[2]),
                                  wide(argv[3]).c_str(), wide(argv[4]).c_str(), wide(argv[5]).c_str());
  try {
    return Run(*dbms);
  } catch (const std::runtime_error&) {
    return 1;
  }
}
