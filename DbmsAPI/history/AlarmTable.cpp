#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kCreateAlarms[] =
    L"create table if not exists alarm ("
    L"time timestamptz not null,"
    L"tag_name text not null,"
    L"value double precision not null,"
    L"label text not null,"
    L"status int2 not null,"
    L"type int2 not null,"
    L"level int2 not null,"
    L"zone int2 not null,"
    L"occ_time timestamptz not null,"
    L"free_time timestamptz,"
    L"primary key (time,tag_name,status))";

// :1 epoch seconds, :2 tag, :3 value, :4 label, :5 status, :6 type, :7 level, :8 zone, :9 epoch seconds of
// the occurrence, :10 epoch seconds of the clearing or NULL.
constexpr wchar_t kInsertAlarm[] =
    L"insert into alarm values("
    L"to_timestamp(:1), :2, :3, :4, :5, :6, :7, :8, to_timestamp(:9), to_timestamp(:10))";

}  // namespace

bool TirelScada::CreateAlarmTable(int retentionDays) {
  return Run([&](SACommand& command) {
    Execute(command, kCreateAlarms);
    SetUpHypertable(command, L"alarm", L"tag_name, status, type, level, zone", retentionDays);
  });
}

bool TirelScada::InsertAlarm(std::int64_t timeMs, const wchar_t* tagName, double value, const wchar_t* label,
                             std::int16_t status, std::int16_t alarmType, std::int16_t level,
                             std::int16_t zone, std::int64_t occTimeMs, std::int64_t freeTimeMs) {
  return Run([&](SACommand& command) {
    Require({{L"tagName", tagName}, {L"label", label}});
    command.setCommandText(kInsertAlarm);
    command << EpochSeconds(timeMs) << tagName << value << label << status << alarmType << level << zone
            << EpochSeconds(occTimeMs);
    if (freeTimeMs > 0) {
      command << EpochSeconds(freeTimeMs);
    } else {
      command << SANull();
    }
    command.Execute();
  });
}
