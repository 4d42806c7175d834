#pragma once

#include <DbmsAPI/Dbms.h>

#include <functional>
#include <string>

// The accounts that docs/grants.sql makes, with names that no other test uses.
class GrantedAccounts {
 public:
  // `run` runs statements as a superuser in the test's database.
  GrantedAccounts(std::string prefix, std::function<void(const std::string&)> run);
  ~GrantedAccounts();

  // Runs the script; the accounts get the password "secret".
  void Grant();

  // Calls every operation but those for chunks as the owner, the writer and the reader. It succeeds for the
  // accounts that have the right to it, and is refused to the others.
  void ExpectEachOperationInItsRole(
      const std::function<std::shared_ptr<Dbms>(const std::wstring& account, const wchar_t* password)>&
          connect);

 private:
  std::string prefix_;
  std::function<void(const std::string&)> run_;
};
