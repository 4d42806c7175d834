// The accounts that docs/grants.sql makes, on hypertables.

#include "TimescaleTest.h"
#include "server/GrantedAccounts.h"

namespace {

class Grants : public TimescaleTest {
 protected:
  std::function<std::shared_ptr<Dbms>(const std::wstring&, const wchar_t*)> connect =
      [this](const std::wstring& account, const wchar_t* password) {
        return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                             account.c_str(), password);
      };
  GrantedAccounts Accounts() {
    return {Value("select current_database()") + "_", [this](const std::string& text) { Run(text); }};
  }
};

TEST_F(Grants, EachOperationIsDoneByItsAccountAndRefusedToTheOthers) {
  auto accounts = Accounts();
  accounts.ExpectEachOperationInItsRole(connect);
}

}  // namespace
