// The accounts that docs/grants.sql makes.

#include "server/DbmsTest.h"
#include "server/GrantedAccounts.h"

namespace {

class Grants : public DbmsTest {};

TEST_F(Grants, EachOperationIsDoneByItsAccountAndRefusedToTheOthers) {
  GrantedAccounts accounts(Value("select current_database()") + "_",
                           [this](const std::string& statements) { Run(statements); });
  accounts.ExpectEachOperationInItsRole([this](const std::wstring& account, const wchar_t* password) {
    return Dbms::GetDbms(DbmsType::PostgreSQL, Host().c_str(), Port(), Database().c_str(), account.c_str(),
                         password);
  });
}

}  // namespace
