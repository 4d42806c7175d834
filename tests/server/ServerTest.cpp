#include "server/ServerTest.h"

#include <libpq-fe.h>

#include <chrono>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include "platform/Process.h"

namespace {

constexpr char kMaintenanceDatabase[] = "postgres";
constexpr auto kLongEnough = std::chrono::minutes(2);
constexpr auto kPause = std::chrono::milliseconds(10);

using Result = std::unique_ptr<PGresult, decltype(&PQclear)>;

std::string Environment(const char* name) {
  const char* value = std::getenv(name);
  return value ? value : "";
}

// Names in tests are ASCII.
std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }

// Unique among test programs that run at the same time.
std::string NewDatabaseName() {
  static int count = 0;
  return "dbmsapi_test_" + std::to_string(platform::ProcessId()) + "_" + std::to_string(++count);
}

Result Execute(PGconn* channel, std::string_view statements) {
  if (!channel) throw std::logic_error("the test has no database");
  Result result(PQexec(channel, std::string(statements).c_str()), &PQclear);
  const ExecStatusType status = PQresultStatus(result.get());
  if (status != PGRES_COMMAND_OK && status != PGRES_TUPLES_OK) {
    throw std::runtime_error(std::string(statements) + ": " + PQerrorMessage(channel));
  }
  return result;
}

// Waits, because the server's processes end some milliseconds after their connections are closed, and "drop
// database" would check again only after 100 ms. "with (force)" closes connections that a test leaves open.
void LetProcessesEnd(PGconn* maintenance, const std::string& database) {
  for (int attempt = 0; attempt < 10; ++attempt) {
    const Result processes =
        Execute(maintenance, "select from pg_stat_activity where datname = '" + database + "'");
    if (PQntuples(processes.get()) == 0) return;
    std::this_thread::sleep_for(kPause / 5);
  }
}

std::string Line(const PGresult* result, int row) {
  std::string line;
  for (int column = 0; column < PQnfields(result); ++column) {
    if (column > 0) line += '|';
    line += PQgetisnull(result, row, column) ? "\\N" : PQgetvalue(result, row, column);
  }
  return line;
}

}  // namespace

ServerTest::ServerTest()
    : host_(Environment("DBMSAPI_TEST_HOST")),
      port_(Environment("DBMSAPI_TEST_PORT")),
      user_(Environment("DBMSAPI_TEST_USER")),
      password_(Environment("DBMSAPI_TEST_PASSWORD")) {}

ServerTest::~ServerTest() = default;

void ServerTest::Close::operator()(PGconn* connection) const { PQfinish(connection); }

ServerTest::Channel ServerTest::Open(const std::string& database) const {
  const char* keywords[] = {
      "host", "port", "user", "password", "client_encoding", "dbname", "application_name", nullptr};
  const char* values[] = {host_.c_str(), port_.c_str(),    user_.c_str(),         password_.c_str(),
                          "UTF8",        database.c_str(), "independent channel", nullptr};
  Channel channel(PQconnectdbParams(keywords, values, 0));
  if (PQstatus(channel.get()) != CONNECTION_OK) throw std::runtime_error(PQerrorMessage(channel.get()));
  PQsetNoticeProcessor(
      channel.get(), [](void*, const char*) {}, nullptr);
  return channel;
}

void ServerTest::SetUp() {
  if (host_.empty() || port_.empty() || user_.empty()) {
    FAIL()
        << "Name a server by DBMSAPI_TEST_HOST, DBMSAPI_TEST_PORT, DBMSAPI_TEST_USER, DBMSAPI_TEST_PASSWORD";
  }
  maintenance_ = Open(kMaintenanceDatabase);
  const std::string name = NewDatabaseName();
  Execute(maintenance_.get(), "create database " + name + " template template0 " + DatabaseOptions());
  database_ = name;
  channel_ = Open(database_);
}

void ServerTest::Reconnect() {
  maintenance_ = Open(kMaintenanceDatabase);
  channel_ = Open(database_);
}

void ServerTest::TearDown() {
  channel_.reset();
  if (database_.empty()) return;
  LetProcessesEnd(maintenance_.get(), database_);
  Execute(maintenance_.get(), "drop database " + database_ + " with (force)");
}

std::wstring ServerTest::Host() const { return Wide(host_); }
int ServerTest::Port() const { return std::atoi(port_.c_str()); }
std::wstring ServerTest::Database() const { return Wide(database_); }
std::wstring ServerTest::User() const { return Wide(user_); }
std::wstring ServerTest::Password() const { return Wide(password_); }

void ServerTest::Run(std::string_view statements) { Execute(channel_.get(), statements); }

std::vector<std::string> ServerTest::Rows(std::string_view query) {
  const Result result = Execute(channel_.get(), query);
  std::vector<std::string> rows;
  for (int row = 0; row < PQntuples(result.get()); ++row) rows.push_back(Line(result.get(), row));
  return rows;
}

std::string ServerTest::Value(std::string_view query) {
  const Result result = Execute(channel_.get(), query);
  if (PQntuples(result.get()) != 1) throw std::runtime_error(std::string(query) + ": not one row");
  return PQgetvalue(result.get(), 0, 0);
}

void ServerTest::WaitUntil(std::string_view query) {
  const auto end = std::chrono::steady_clock::now() + kLongEnough;
  while (Value(query) != "t") {
    if (std::chrono::steady_clock::now() > end) throw std::runtime_error(std::string(query) + ": never true");
    std::this_thread::sleep_for(kPause);
  }
}
