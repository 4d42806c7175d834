#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kAddSheet[] = L"alter table event_report_data add column sheet text";

constexpr wchar_t kDropKey[] = L"alter table event_report_data drop constraint event_report_data_pkey";

constexpr wchar_t kAddKey[] =
    L"alter table event_report_data add constraint event_report_data_pkey "
    L"primary key(time,model_name,sheet,cell)";

constexpr wchar_t kCreateEventReport[] =
    L"create table if not exists event_report_data ("
    L"time timestamptz not null,"
    L"model_name text not null,"
    L"sheet text not null,"
    L"cell text not null,"
    L"value text not null,"
    L"primary key(time,model_name,sheet,cell))";

// {}: model.
constexpr wchar_t kDeleteEventReport[] = L"delete from event_report_data where model_name = '{}'";

// The rows follow.
constexpr wchar_t kInsertEventReport[] =
    L"insert into event_report_data (time,model_name,sheet,cell,value) values";

// {}: number of the parameter for the epoch seconds, model, sheet, numbers of those for cell and value.
constexpr wchar_t kEventReportRow[] = L"(to_timestamp(:{}),'{}','{}',:{},:{}),";

// {}: model, sheet.
constexpr wchar_t kSelectEventReport[] =
    L"select cell, value from event_report_data where model_name = '{}' and sheet = '{}' order by time";

// Kept: rows of the old layout get no sheet, so the new key cannot be added. The table is left without a key.
// Since the column exists then, later calls do not add the key either.
void MigrateEventReport(SACommand& command) {
  if (HasColumn(command, L"event_report_data", L"sheet")) return;
  Execute(command, kAddSheet);
  Execute(command, kDropKey);
  Execute(command, kAddKey);
}

// Kept: without a cell the last letter of "values" is cut off, which the server refuses. Model and sheet are
// spliced without escaping.
std::wstring InsertStatement(const wchar_t* model, const wchar_t* sheet, std::size_t cells) {
  std::wstring statement = kInsertEventReport;
  for (std::size_t i = 0; i < cells; ++i) {
    statement += Format(kEventReportRow, 3 * i + 1, model, sheet, 3 * i + 2, 3 * i + 3);
  }
  statement.pop_back();
  return statement;
}

}  // namespace

bool TirelScada::CreateEventReportTable() {
  return Run([&](SACommand& command) {
    if (CountTables(command, L"event_report_data") != 0) {
      MigrateEventReport(command);
    } else {
      Execute(command, kCreateEventReport);
    }
  });
}

bool TirelScada::DeleteEventReportData(const wchar_t* modelName) {
  return Run([&](SACommand& command) {
    Require({{L"modelName", modelName}});
    Execute(command, Format(kDeleteEventReport, modelName));
  });
}

bool TirelScada::InsertEventReportData(const wchar_t* modelName, const wchar_t* sheet, std::int64_t timeMs,
                                       const std::vector<EventReportCell>& cells) {
  return Run([&](SACommand& command) {
    Require({{L"modelName", modelName}, {L"sheet", sheet}});
    command.setCommandText(ToSAString(InsertStatement(modelName, sheet, cells.size())));
    for (const EventReportCell& cell : cells) {
      command << EpochSeconds(timeMs) << cell.cell << cell.value;
    }
    command.Execute();
  });
}

bool TirelScada::GetEventReportData(const wchar_t* modelName, const wchar_t* sheet,
                                    std::unordered_map<std::wstring, std::vector<std::wstring>>& values) {
  return Run([&](SACommand& command) {
    Require({{L"modelName", modelName}, {L"sheet", sheet}});
    Execute(command, Format(kSelectEventReport, modelName, sheet));
    FetchTextsByKey(command, values);
  });
}
