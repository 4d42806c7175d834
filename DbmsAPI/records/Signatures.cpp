#include "DbmsAPI/frame/Operation.h"

namespace {

constexpr wchar_t kCountSignatureTables[] =
    L"select count(*) from information_schema.tables where table_schema = 'public' and table_name = "
    L"'signinfo_table'";

constexpr wchar_t kFindSigningUser[] =
    L"select column_name from information_schema.columns where table_name = 'signinfo_table' and column_name = "
    L"'user_id'";

constexpr wchar_t kDropSignatureTable[] = L"drop table signinfo_table";

constexpr wchar_t kCreateSignatureTable[] =
    L"create table if not exists signinfo_table ("
    L"time timestamptz not null,"
    L"user_id text not null,"
    L"two_factor text not null,"
    L"req_id int not null,"
    L"comment text not null,"
    L"data jsonb not null,"
    L"primary key(time,user_id))";

// Kept: the column is looked for only when the count is exactly 1, and then in every schema.
bool IsOutdated(SACommand& command) {
  if (!FetchFirst(command, kCountSignatureTables) || command.Field(1).asLong() != 1) return false;
  return !FetchFirst(command, kFindSigningUser);
}

}  // namespace

bool TirelScada::CreateSignatureTable() {
  return Run([&](SACommand& command) {
    if (IsOutdated(command)) Execute(command, kDropSignatureTable);
    Execute(command, kCreateSignatureTable);
  });
}
