#include "chaos/Families.h"

namespace {

constexpr std::int64_t kSeconds = 1700000000;
constexpr std::int64_t kMs = kSeconds * 1000;

// Not made in the call, because libstdc++ 12 cannot undo the copy of a variant when the allocation of its
// text fails.
const std::vector<UserLogBind> kNotCold = {L"cold"};

std::vector<Operation> EventReportOperations() {
  const auto insert = [](Dbms& d) {
    return d.InsertEventReportData(L"M", L"S", kMs, {{L"A1", L"x"}, {L"A2", L"y"}});
  };
  const auto read = [](Dbms& d) {
    std::unordered_map<std::wstring, std::vector<std::wstring>> values;
    return d.GetEventReportData(L"M", L"S", values) && values.size() == 1;
  };
  const std::string count = "select count(*) from event_report_data";
  const std::string fill =
      "truncate event_report_data; "
      "insert into event_report_data values (to_timestamp(1700000000), 'M', 'S', 'A1', 'x')";
  return {{"InsertEventReportData",
           "event_report_data",
           "truncate event_report_data",
           insert,
           count,
           {0, 2},
           Again::IsRefused},
          {"GetEventReportData", "event_report_data", fill, read, count, {1, 1}}};
}

}  // namespace

Family TagHistory() {
  const auto insert = [](Dbms& d) {
    return d.InsertLogData({{kMs, L"A", 1.5}, {kMs, L"B", 2.5}, {kMs + 1, L"A", 3.5}});
  };
  const auto read = [](Dbms& d) {
    std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"A", {}}};
    return d.GetLogData(kSeconds, kSeconds + 1, data) && data[L"A"].size() == 1;
  };
  const std::string count = "select count(*) from datalog";
  return {"TagHistory",
          [](Dbms& d) { return d.CreateLogTable(0); },
          // Temporary table, BEGIN, TRUNCATE, COPY, its data, INSERT, COMMIT.
          {{"InsertLogData", "datalog", "truncate datalog", insert, count, {0, 0, 0, 0, 0, 0, 0, 3}},
           {"GetLogData",
            "datalog",
            "truncate datalog; insert into datalog values (to_timestamp(1700000000), 'A', 1)",
            read,
            count,
            {1, 1}}}};
}

Family UserLogs() {
  const auto insert = [](Dbms& d) { return d.InsertUserLogData(L"oven", {kMs, {L"'hot'"}}); };
  const auto read = [](Dbms& d) {
    std::vector<UserLogRow> rows;
    return d.GetUserLogData(L"oven", kSeconds, kSeconds + 1, L"note <> :1", kNotCold, rows) &&
           rows.size() == 1;
  };
  const std::string count = "select count(*) from user_oven";
  const std::string fill =
      "truncate user_oven; insert into user_oven values (to_timestamp(1700000000), 'hot')";
  return {"UserLogs",
          [](Dbms& d) {
            return d.CreateUserLogTable(L"oven", {{L"note", 2, 40}}, 0);
          },
          {{"InsertUserLogData", "user_oven", "truncate user_oven", insert, count, {0, 1}, Again::IsRefused},
           {"GetUserLogData", "user_oven", fill, read, count, {1, 1}}}};
}

Family Alarms() {
  const auto insert = [](Dbms& d) { return d.InsertAlarm(kMs, L"A", 1.5, L"high", 0, 1, 2, 3, kMs, 0); };
  const auto read = [](Dbms& d) {
    std::vector<AlarmRecord> records;
    return d.GetAllAlarmData(kSeconds, kSeconds + 1, records) && records.size() == 1;
  };
  const std::string count = "select count(*) from alarm";
  const std::string fill =
      "truncate alarm; insert into alarm "
      "values (to_timestamp(1700000000), 'A', 1.5, 'high', 0, 1, 2, 3, now())";
  return {"Alarms",
          [](Dbms& d) { return d.CreateAlarmTable(0); },
          {{"InsertAlarm", "alarm", "truncate alarm", insert, count, {0, 1}, Again::IsRefused},
           {"GetAllAlarmData", "alarm", fill, read, count, {1, 1}}}};
}

Family TagValues() {
  const auto insert = [](Dbms& d) { return d.InsertTagValues(L"page", {{kMs, L"A", L"1"}}); };
  const auto queue = [](Dbms& d) {
    std::deque<std::vector<TagValueRecord>> values = {{{kMs, L"A", L"1"}}, {{kMs, L"B", L"2"}}};
    const bool stored = d.InsertTagValueQueue(L"queued", values);
    return stored && values.empty();
  };
  const std::string count = "select count(*) from page", countQueued = "select count(*) from queued";
  return {
      "TagValues",
      [](Dbms& d) { return d.CreateTagValueTable(L"page") && d.CreateTagValueTable(L"queued"); },
      // The isolation level, INSERT.
      {{"InsertTagValues", "page", "truncate page", insert, count, {0, 0, 1}, Again::IsRefused, false, true},
       {"InsertTagValueQueue", "queued", "truncate queued", queue, countQueued, {0, 2}, Again::IsRefused}}};
}

Family Reports() {
  const auto insert = [](Dbms& d) {
    ReportAnalogData row;
    row.tag_name = L"A";
    row.time = kSeconds;
    return d.InsertReportAnalogData(L"hour", {row});
  };
  const auto read = [](Dbms& d) {
    std::unordered_map<std::wstring, std::vector<ReportAnalogData>> data = {{L"A", {}}};
    return d.GetReportAnalogData(L"hour", kSeconds, kSeconds + 1, data);
  };
  const char* const table = "report_data_analog_hour";
  const std::string clear = "truncate report_data_analog_hour";
  const std::string count = "select count(*) from report_data_analog_hour";
  std::vector<Operation> operations = {{"InsertReportAnalogData", table, clear, insert, count, {0, 1}},
                                       {"GetReportAnalogData", table, clear, read, count, {0, 0}}};
  for (const Operation& operation : EventReportOperations()) operations.push_back(operation);
  return {"Reports", [](Dbms& d) { return d.CreateReportDataTables(0) && d.CreateEventReportTable(); },
          std::move(operations)};
}
