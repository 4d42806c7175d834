#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "port/LocalTime.h"

namespace {

constexpr int kAccountColumns = 17;

// Kept: the columns of same-named tables in all schemas are counted together.
constexpr wchar_t kCountAccountColumns[] =
    L"select count(*) from information_schema.columns where table_name = 'userinfo_table'";

constexpr wchar_t kDropAccounts[] = L"drop table userinfo_table";

constexpr wchar_t kCreateAccounts[] =
    L"create table if not exists userinfo_table ("
    L"id text not null primary key,"
    L"username text not null,"
    L"password text not null,"
    L"old_password text,"
    L"security_level int not null,"
    L"sign_level int not null,"
    L"user_group text not null,"
    L"user_role text not null,"
    L"is_now_login int2 not null,"
    L"login_date timestamptz,"
    L"operator_node text not null,"
    L"use_expire int2 not null,"
    L"expired_date timestamptz not null,"
    L"login_device text not null,"
    L"login_count int not null,"
    L"last_reset_pass timestamptz not null,"
    L"description text not null)";

constexpr wchar_t kCreateLockList[] =
    L"create table if not exists locked_user_list ("
    L"id text not null,"
    L"locked_time timestamptz)";

constexpr wchar_t kDeleteAllAccounts[] = L"delete from userinfo_table ";

// {}: login, expiry and last password reset in epoch seconds. :1 id, :2 username, :3 password,
// :4 old_password, :5 security_level, :6 sign_level, :7 user_group, :8 user_role, :9 is_now_login,
// :10 operator_node, :11 use_expire, :12 login_device, :13 login_count, :14 description.
constexpr wchar_t kInsertAccount[] =
    L"insert into userinfo_table values "
    L"(:1,:2,:3,:4,:5,:6,:7,:8,:9,"
    L"to_timestamp({}),:10,:11,to_timestamp({}),:12,:13,to_timestamp({}),:14)";

constexpr wchar_t kGetAccounts[] = L"select * from userinfo_table";

constexpr wchar_t kGetLoggedInIds[] = L"select id from userinfo_table where is_now_login = 1";

void Insert(SACommand& command, const UserRecord& account) {
  command.setCommandText(
      ToSAString(Format(kInsertAccount, account.login_date, account.expired_date, account.last_reset_pass)));
  command << account.id << account.username << account.password << account.old_password
          << account.security_level << account.sign_level << account.user_group << account.user_role
          << account.is_now_login << account.operator_node << account.use_expire << account.login_device
          << account.login_count << account.description;
  command.Execute();
}

// Kept: calendar fields of the session's time zone are read as local time of the process, and the seconds are
// cut to 32 bits. NULL is 0 in every time zone.
std::int32_t LocalSeconds(const SAField& time) {
  if (time.isNull()) return 0;
  return static_cast<std::int32_t>(LocalEpochSeconds(time.asDateTime()));
}

// Fills a record column by column; NULL reads as the empty text.
void Read(SACommand& command, UserRecord& account) {
  account.id = command.Field(1).asString();
  account.username = command.Field(2).asString();
  account.password = command.Field(3).asString();
  account.old_password = command.Field(4).asString();
  account.security_level = command.Field(5).asLong();
  account.sign_level = command.Field(6).asLong();
  account.user_group = command.Field(7).asString();
  account.user_role = command.Field(8).asString();
  account.is_now_login = command.Field(9).asShort();
  account.login_date = LocalSeconds(command.Field(10));
  account.operator_node = command.Field(11).asString();
  account.use_expire = command.Field(12).asShort();
  account.expired_date = LocalSeconds(command.Field(13));
  account.login_device = command.Field(14).asString();
  account.login_count = command.Field(15).asLong();
  account.last_reset_pass = LocalSeconds(command.Field(16));
  account.description = command.Field(17).asString();
}

}  // namespace

bool TirelScada::CreateUserTables() {
  return Run([&](SACommand& command) {
    // Kept: a table with more columns is dropped with its accounts; one with fewer, and one whose columns
    // cannot be counted, is left as it is.
    const std::int64_t columns = FetchNumber(command, kCountAccountColumns, kAccountColumns);
    if (columns > kAccountColumns) Execute(command, kDropAccounts);
    Execute(command, kCreateAccounts);
    Execute(command, kCreateLockList);
  });
}

bool TirelScada::DeleteAllUsers() { return Run(kDeleteAllAccounts); }

bool TirelScada::InsertUsers(const std::vector<UserRecord>& users) {
  return Run([&](SACommand&) {
    for (const UserRecord& account : users) {
      SACommand command(connection.get());
      Insert(command, account);
    }
  });
}

bool TirelScada::GetUsers(std::vector<UserRecord>& users) {
  return Run([&](SACommand& command) {
    Execute(command, kGetAccounts);
    sys::ReadTimeZone();
    while (command.FetchNext()) Read(command, users.emplace_back());
  });
}

bool TirelScada::GetLoggedInUserIds(std::vector<std::wstring>& ids) {
  return Run([&](SACommand& command) {
    Execute(command, kGetLoggedInIds);
    while (command.FetchNext()) ids.emplace_back() = command.Field(1).asString();
  });
}
