#include "TimescaleTest.h"

#include <libpq-fe.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace {

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// The version that the server would install by default.
std::string DefaultRelease() {
  const std::string host = Environment("DBMSAPI_TEST_HOST"), port = Environment("DBMSAPI_TEST_PORT"),
                    user = Environment("DBMSAPI_TEST_USER"), password = Environment("DBMSAPI_TEST_PASSWORD");
  const char* keywords[] = {"host", "port", "user", "password", "dbname", nullptr};
  const char* values[] = {host.c_str(), port.c_str(), user.c_str(), password.c_str(), "postgres", nullptr};
  PGconn* connection = PQconnectdbParams(keywords, values, 0);
  if (PQstatus(connection) != CONNECTION_OK) {
    const std::string error = PQerrorMessage(connection);
    PQfinish(connection);
    throw std::runtime_error("no server to test on: " + error);
  }
  PGresult* result =
      PQexec(connection, "select default_version from pg_available_extensions where name = 'timescaledb'");
  const std::string release = PQntuples(result) == 1 ? PQgetvalue(result, 0, 0) : "";
  PQclear(result);
  PQfinish(connection);
  return release;
}

}  // namespace

std::string ReleaseUnderTest() {
  static const std::string release = [] {
    const std::string wanted = Environment("DBMSAPI_TEST_TIMESCALE");
    const std::string offered = DefaultRelease();
    return offered.empty() || wanted.empty() ? offered : wanted;
  }();
  return release;
}

Release TimescaleTest::release() {
  Release release;
  char point;
  std::istringstream(ReleaseUnderTest()) >> release.major >> point >> release.minor >> point >> release.patch;
  return release;
}

void TimescaleTest::SetUp() {
  ServerTest::SetUp();
  Run("create extension timescaledb version '" + ReleaseUnderTest() + "'");
  Run("select _timescaledb_functions.stop_background_workers()");
}

std::shared_ptr<Dbms> TimescaleTest::NewUntoldDbms(DbmsType type) {
  return Dbms::GetDbms(type, Host().c_str(), Port(), Database().c_str(), User().c_str(), Password().c_str());
}

std::shared_ptr<Dbms> TimescaleTest::NewDbms(DbmsType type) {
  auto dbms = NewUntoldDbms(type);
  EXPECT_TRUE(dbms->CreateSystemLogTable(10)) << dbms->GetLastError();
  return dbms;
}

void TimescaleTest::ExpectFailure(bool result, Dbms& dbms, const std::wstring& text) {
  EXPECT_FALSE(result);
  EXPECT_NE(std::wstring(dbms.GetLastError()).find(text), std::wstring::npos) << dbms.GetLastError();
}

void TimescaleTest::InFreshProcess(const std::function<void()>& body) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  const auto run = [&] {
    body();
    std::exit(HasFailure() ? 1 : 0);
  };
  EXPECT_EXIT(run(), ::testing::ExitedWithCode(0), "");
}

std::string TimescaleTest::Retention(const std::string& table) {
  // An aggregate's jobs have its own name or that of its internal table, depending on the release.
  return Value(
      "select coalesce((select j.config->>'drop_after' from timescaledb_information.jobs j "
      "where j.proc_name = 'policy_retention' and j.hypertable_name in ('" +
      table +
      "', (select c.materialization_hypertable_name from timescaledb_information.continuous_aggregates c where "
      "c.view_name = '" +
      table + "'))), 'none')");
}
