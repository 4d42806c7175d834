#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kFindAuditTable[] =
    L"select * from information_schema.tables where table_schema = 'public' and table_name = 'audit_table'";

constexpr wchar_t kCreateAuditTable[] =
    L"create table if not exists audit_table ("
    L"time timestamptz not null,"
    L"ip_addr text not null,"
    L"user_id text not null,"
    L"message text not null,"
    L"group_name text,"
    L"tag_name text,"
    L"value text,"
    L"comment text,"
    L"primary key (time, ip_addr, message))";

// {}: condition on the column.
constexpr wchar_t kFindAuditColumn[] =
    L"select * from information_schema.columns "
    L"where table_schema = 'public' and table_name = 'audit_table' and {}";

// One step from an older layout to the current one.
struct Migration {
  const wchar_t* condition;
  bool whenFound;  // false: when no column meets the condition
  const wchar_t* statement;
};

// In the order in which they run: columns are renamed before they lose "not null", and type is dropped before
// name becomes message.
constexpr Migration kMigrations[] = {
    {L"column_name = 'time' and data_type = 'timestamp with time zone'", false,
     L"alter table audit_table alter column time type timestamptz"},
    {L"column_name = 'operator_node'", true,
     L"alter table audit_table rename column operator_node to ip_addr"},
    {L"column_name = 'operator'", true, L"alter table audit_table rename column operator to user_id"},
    {L"column_name = 'type'", true, L"alter table audit_table drop type"},
    {L"column_name = 'name'", true, L"alter table audit_table rename column name to message"},
    {L"column_name = 'group_name' and is_nullable = 'NO'", true,
     L"alter table audit_table alter column group_name drop not null"},
    {L"column_name = 'value' and is_nullable = 'NO'", true,
     L"alter table audit_table alter column value drop not null"},
    {L"column_name = 'comment' and is_nullable = 'NO'", true,
     L"alter table audit_table alter column comment drop not null"},
};

void Migrate(SACommand& command) {
  for (const Migration& migration : kMigrations) {
    const bool found = FetchFirst(command, Format(kFindAuditColumn, migration.condition));
    if (found == migration.whenFound) Execute(command, migration.statement);
  }
}

}  // namespace

bool TirelScada::CreateAuditTable() {
  return Run([&](SACommand& command) {
    if (FetchFirst(command, kFindAuditTable)) {
      Migrate(command);
    } else {
      Execute(command, kCreateAuditTable);
    }
    // Kept: the extension's version is not looked up here. Until CreateSystemLogTable has run in this
    // process, the table stays a plain one.
    SetUpHypertable(command, L"audit_table", L"ip_addr, user_id, group_name, tag_name, message",
                    std::nullopt);
  });
}
