#pragma once

#include <functional>
#include <memory>
#include <string>
#include <tuple>

#include "DbmsAPI/Dbms.h"
#include "server/ServerTest.h"

// A release of the extension, such as 2.18.2.
struct Release {
  int major = 0, minor = 0, patch = 0;
  friend auto operator<=>(const Release&, const Release&) = default;
};

// The release under test: DBMSAPI_TEST_TIMESCALE, else the one that the server installs by default; empty on
// a server that does not offer the extension.
std::string ReleaseUnderTest();

// A fresh database with the extension in the release under test. Its background jobs are stopped, so that
// nothing changes during a test.
class TimescaleTest : public ServerTest {
 protected:
  void SetUp() override;

  // An object whose process knows the extension: the system log has been created.
  std::shared_ptr<Dbms> NewDbms(DbmsType type = DbmsType::TirelScada);
  // The same without the system log.
  std::shared_ptr<Dbms> NewUntoldDbms(DbmsType type = DbmsType::TirelScada);

  static Release release();

  // Expects that an operation failed with an error text that contains this one.
  static void ExpectFailure(bool result, Dbms& dbms, const std::wstring& text);

  // Runs the body in a separate process, in which the library has not seen the extension, with a database of
  // its own. Its failures count for this test.
  static void InFreshProcess(const std::function<void()>& body);

  // The age of a table's or an aggregate's retention policy, "none" without one.
  std::string Retention(const std::string& table);
};
