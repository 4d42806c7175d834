#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kAddUserList[] = L"ALTER TABLE pr_timelist ADD COLUMN user_list TEXT[]";

constexpr wchar_t kStartTimeType[] =
    L"select data_type from information_schema.columns "
    L"where table_schema = 'public' and table_name = 'pr_timelist' and column_name = 'start_time'";

constexpr wchar_t kConvertTimes[] =
    L"alter table pr_timelist "
    L"alter column start_time type timestamptz,"
    L"alter column end_time type timestamptz";

constexpr wchar_t kCreatePageTimeList[] =
    L"create table if not exists pr_timelist ("
    L"page_name text NOT NULL,"
    L"start_time timestamptz NOT NULL,"
    L"end_time timestamptz,"
    L"user_list text[],"
    L"primary key (page_name,start_time))";

// {}: page, epoch seconds, list of users.
constexpr wchar_t kInsertPageTime[] = L"insert into pr_timelist values ('{}', to_timestamp({}), NULL, {})";

// {}: epoch seconds, page.
constexpr wchar_t kClosePageTime[] =
    L"update pr_timelist set end_time=to_timestamp({}) where end_time is null and page_name='{}'";

constexpr wchar_t kCreatePageTimestamp[] =
    L"create table if not exists pr_timestamp ("
    L"page_name text NOT NULL,"
    L"time timestamptz NOT NULL,"
    L"progresstime int NOT NULL,"
    L"comment text,"
    L"primary key (page_name,time,progresstime))";

// Older tables have no list of users, and times without a zone.
void MigratePageTimeList(SACommand& command) {
  if (!HasColumn(command, L"pr_timelist", L"user_list")) Execute(command, kAddUserList);
  const bool zoned =
      FetchFirst(command, kStartTimeType) && command.Field(1).asString() == L"timestamp with time zone";
  if (!zoned) Execute(command, kConvertTimes);
}

// Kept: names are not escaped.
std::wstring UserList(const std::vector<std::wstring>& users) {
  if (users.empty()) return L"null";
  std::wstring list = L"array[";
  for (const std::wstring& user : users) list.append(L"'").append(user).append(L"',");
  list.back() = L']';
  return list;
}

}  // namespace

bool TirelScada::CreatePageTimeListTable() {
  return Run([&](SACommand& command) {
    if (CountTables(command, L"pr_timelist") != 0) {
      MigratePageTimeList(command);
    } else {
      Execute(command, kCreatePageTimeList);
    }
  });
}

bool TirelScada::InsertPageTimeList(const wchar_t* pageName, std::int64_t startTimeMs,
                                    const std::vector<std::wstring>& users) {
  return Run([&](SACommand& command) {
    Require({{L"pageName", pageName}});
    Execute(command, Format(kInsertPageTime, pageName, EpochSecondsText(startTimeMs), UserList(users)));
  });
}

bool TirelScada::ClosePageTimeList(const wchar_t* pageName, std::int64_t endTimeMs) {
  return Run([&](SACommand& command) {
    Require({{L"pageName", pageName}});
    Execute(command, Format(kClosePageTime, EpochSecondsText(endTimeMs), pageName));
  });
}

bool TirelScada::CreatePageTimestampTable() { return Run(kCreatePageTimestamp); }
