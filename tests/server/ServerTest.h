#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <string_view>
#include <vector>

typedef struct pg_conn PGconn;

// A fresh database for each test, and a connection to it that shares nothing with the code under test.
//
// The server is named by DBMSAPI_TEST_HOST (a host or the path of a Unix socket's folder), DBMSAPI_TEST_PORT,
// DBMSAPI_TEST_USER (a superuser) and DBMSAPI_TEST_PASSWORD. Without them the test fails.
class ServerTest : public ::testing::Test {
 protected:
  ServerTest();
  ~ServerTest() override;

  // Derived fixtures that have their own begin with ServerTest::SetUp() and end with ServerTest::TearDown().
  void SetUp() override;
  void TearDown() override;

  // How the test's database is created.
  virtual std::string DatabaseOptions() const { return "encoding 'UTF8'"; }

  // Where the test's database is.
  std::wstring Host() const;
  int Port() const;
  std::wstring Database() const;
  std::wstring User() const;
  std::wstring Password() const;

  // Runs statements in the test's database, in UTF-8, over the independent connection.
  void Run(std::string_view statements);

  // Runs a query: one text per row, the columns joined by '|', NULL written as \N.
  std::vector<std::string> Rows(std::string_view query);

  // The first column of the only row.
  std::string Value(std::string_view query);

  // Opens that connection again, for a test that has closed the server's connections.
  void Reconnect();

  // Repeats the query until it returns true; throws after a long time.
  void WaitUntil(std::string_view query);

  // A query for the server processes of other connections to the test's database, for use in WaitUntil.
  static constexpr std::string_view kOtherBackends =
      "(select pid from pg_stat_activity where datname = current_database() and pid <> pg_backend_pid() "
      "and backend_type = 'client backend')";

 private:
  struct Close {
    void operator()(PGconn* connection) const;
  };
  using Channel = std::unique_ptr<PGconn, Close>;

  Channel Open(const std::string& database) const;

  std::string host_, port_, user_, password_;
  std::string database_;
  Channel maintenance_;  // to another database of the server
  Channel channel_;
};
