#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

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
  return CountTables(command, L"signinfo_table") == 1 && !HasColumn(command, L"signinfo_table", L"user_id");
}

}  // namespace

bool TirelScada::CreateSignatureTable() {
  return Run([&](SACommand& command) {
    if (IsOutdated(command)) Execute(command, kDropSignatureTable);
    Execute(command, kCreateSignatureTable);
  });
}
