#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateWatermarks[] =
    L"create table if not exists report_data_time ("
    L"type varchar(10) not null primary key,"
    L"minute timestamptz,"
    L"hour timestamptz,"
    L"day timestamptz,"
    L"month timestamptz,"
    L"year timestamptz)";

constexpr wchar_t kCountWatermarks[] = L"select count(*) from report_data_time";

// Kept: four nulls for five periods; the server fills the last column, year, with its default.
constexpr wchar_t kInsertFirstRows[] =
    L"insert into report_data_time "
    L"values('analog',null,null,null,null),('digital',null,null,null,null)";

// {}: period, kind.
constexpr wchar_t kGetWatermark[] = L"select extract(epoch from {}) from report_data_time where type = '{}'";

// {}: period, epoch seconds, kind.
constexpr wchar_t kSetWatermark[] = L"update report_data_time set {} = to_timestamp({}) where type = '{}'";

// {}: kind, period.
constexpr wchar_t kGetFirstTime[] =
    L"select extract(epoch from time) from report_data_{}_{} order by time limit 1";

// The aggregate tables of one kind.
struct Kind {
  const wchar_t* tables;          // their names without the period at the end
  const wchar_t* columns;         // in every table
  const wchar_t* furtherColumns;  // in all but the minute table
};

constexpr Kind kAnalog = {L"report_data_analog_",

                          L"time timestamptz not null,"
                          L"tag_name text not null,"
                          L"count int not null,"
                          L"sum float8 not null,"
                          L"avg float8 not null,"
                          L"diff float8 not null,"
                          L"first float8 not null,"
                          L"last float8 not null,"
                          L"min float8 not null,"
                          L"min_time timestamptz not null,"
                          L"max float8 not null,"
                          L"max_time timestamptz not null,",

                          L"diff_sum float8 not null,"
                          L"diff_avg float8 not null,"
                          L"diff_min float8 not null,"
                          L"diff_min_time timestamptz not null,"
                          L"diff_max float8 not null,"
                          L"diff_max_time timestamptz not null,"};

constexpr Kind kDigital = {L"report_data_digital_",

                           L"time timestamptz not null,"
                           L"tag_name text not null,"
                           L"count int not null,"
                           L"uptime int not null,"
                           L"uptime_avg float8 not null,"
                           L"uptime_min int not null,"
                           L"uptime_min_time timestamptz not null,"
                           L"uptime_max int not null,"
                           L"uptime_max_time timestamptz not null,",

                           L"count_avg float8 not null,"
                           L"count_min int not null,"
                           L"count_min_time timestamptz not null,"
                           L"count_max int not null,"
                           L"count_max_time timestamptz not null,"};

// The periods from short to long.
struct Period {
  const wchar_t* name;
  bool hasFurtherColumns;
  bool isHypertable;  // the tables of the longer periods have few rows
};

constexpr Period kPeriods[] = {{L"minute", false, true},
                               {L"hour", true, true},
                               {L"day", true, false},
                               {L"month", true, false},
                               {L"year", true, false}};

std::wstring CreateStatement(const std::wstring& table, const Kind& kind, const Period& period) {
  return Format(L"create table if not exists {} ({}{}primary key (time, tag_name))", table, kind.columns,
                period.hasFurtherColumns ? kind.furtherColumns : L"");
}

}  // namespace

bool TirelScada::CreateReportDataTables(int retentionDays) {
  return Run([&](SACommand& command) {
    Execute(command, kCreateWatermarks);
    if (FetchFirst(command, kCountWatermarks) && command.Field(1).asShort() == 0)
      Execute(command, kInsertFirstRows);

    for (const Kind& kind : {kAnalog, kDigital}) {
      for (const Period& period : kPeriods) {
        const std::wstring table = std::wstring(kind.tables) + period.name;
        Execute(command, CreateStatement(table, kind, period));
        if (period.isHypertable) SetUpHypertable(command, table.c_str(), L"tag_name", retentionDays);
      }
    }
  });
}

bool TirelScada::GetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t* epochSeconds) {
  return Run([&](SACommand& command) {
    Require({{L"kind", kind}, {L"period", period}, {L"epochSeconds", epochSeconds}});
    if (FetchFirst(command, Format(kGetWatermark, period, kind))) *epochSeconds = command.Field(1).asInt64();
  });
}

bool TirelScada::SetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t epochSeconds) {
  return Run([&](SACommand& command) {
    Require({{L"kind", kind}, {L"period", period}});
    Execute(command, Format(kSetWatermark, period, epochSeconds, kind));
  });
}

bool TirelScada::GetReportDataFirstTime(const wchar_t* kind, const wchar_t* period,
                                        std::int64_t* epochSeconds) {
  return Run([&](SACommand& command) {
    Require({{L"kind", kind}, {L"period", period}, {L"epochSeconds", epochSeconds}});
    if (FetchFirst(command, Format(kGetFirstTime, kind, period))) *epochSeconds = command.Field(1).asInt64();
  });
}
