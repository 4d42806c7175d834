#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"

namespace {

constexpr wchar_t kCreateSystemLog[] =
    L"create table if not exists system_log ("
    L"time timestamptz not null,"
    L"node int2 not null,"
    L"module int2 not null,"
    L"level int2 not null,"
    L"type int not null,"
    L"user_id text,"
    L"message text not null,"
    L"primary key (time,node,message))";

// :1 epoch seconds, :2 node, :3 module, :4 level, :5 type, :6 user or NULL, :7 message.
constexpr wchar_t kInsertSystemLog[] = L"insert into system_log values (to_timestamp(:1),:2,:3,:4,:5,:6,:7)";

}  // namespace

bool TirelScada::CreateSystemLogTable(int retentionDays) {
  return Run([&](SACommand& command) {
    DetectTimescaleVersion(connection.get());
    Execute(command, kCreateSystemLog);
    SetUpHypertable(command, L"system_log", L"node, module, level, type, user_id, message", retentionDays);
  });
}

std::uint64_t TirelScada::InsertSystemLog(const std::vector<SystemLogRecord>& records) {
  std::uint64_t written = 0;
  Run([&](SACommand& command) {
    command.setCommandText(kInsertSystemLog);
    for (const SystemLogRecord& record : records) {
      command << EpochSeconds(record.time) << record.node << record.module << record.level << record.type;
      BindOrNull(command.Param(6), record.user_id);
      command.Param(7).setAsString() = ToSAString(record.message);
      command.Execute();
      ++written;
    }
  });
  return written;
}
