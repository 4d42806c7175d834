#include "BenchServer.h"

#include <SQLAPI.h>
#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <sstream>

#include "DbmsAPI/Diagnostics.h"
#include "Paired.h"

namespace bench {
namespace {

std::string Needed(const char* name) {
  const char* const value = std::getenv(name);
  Require(value != nullptr, std::string(name) + " is not set; tools/server.sh sets it");
  return value;
}

std::wstring Wide(const std::string& text) { return {text.begin(), text.end()}; }

const char* TimescaleVersion() { return std::getenv("DBMSAPI_BENCH_TIMESCALE"); }

// User and system time of a process, from /proc/PID/stat: the 12th and 13th field after the program's name.
double SecondsOf(int process) {
  std::ifstream file("/proc/" + std::to_string(process) + "/stat");
  const std::string line{std::istreambuf_iterator<char>(file), {}};
  std::istringstream fields(line.substr(line.rfind(')') + 1));
  std::string skipped;
  for (int i = 0; i < 11; ++i) fields >> skipped;
  double user = 0, system = 0;
  Require(static_cast<bool>(fields >> user >> system), "reading the processor time of the server");
  return (user + system) / static_cast<double>(::sysconf(_SC_CLK_TCK));
}

Link ConnectTo(const std::string& connectionString) {
  Link link(PQconnectdb(connectionString.c_str()));
  Require(PQstatus(link.get()) == CONNECTION_OK, PQerrorMessage(link.get()));
  PQsetNoticeProcessor(
      link.get(), [](void*, const char*) {}, nullptr);
  return link;
}

}  // namespace

BenchServer::BenchServer(const std::string& database, const std::string& locale)
    : host_(Needed("DBMSAPI_TEST_HOST")),
      port_(Needed("DBMSAPI_TEST_PORT")),
      user_(Needed("DBMSAPI_TEST_USER")),
      password_(Needed("DBMSAPI_TEST_PASSWORD")),
      database_(database) {
  SetDbmsDebugSink([](const wchar_t* line) { std::wcerr << line; });
  {
    const Link maintenance = ConnectTo(ConnectionString("postgres"));
    bench::Run(maintenance.get(), "drop database if exists " + database_ + " with (force)");
    bench::Run(maintenance.get(), "create database " + database_ + " template template0 " + locale);
  }
  admin_ = Connect();
  if (const char* const version = TimescaleVersion()) {
    Run("create extension timescaledb version '" + std::string(version) + "'");
  }
}

BenchServer::~BenchServer() {
  admin_.reset();
  const Link maintenance = ConnectTo(ConnectionString("postgres"));
  bench::Run(maintenance.get(), "drop database if exists " + database_ + " with (force)");
}

std::shared_ptr<Dbms> BenchServer::Library(const std::string& databaseText) const {
  const auto type = TimescaleVersion() ? DbmsType::TirelScada : DbmsType::PostgreSQL;
  auto dbms = Dbms::GetDbms(type, Wide(host_).c_str(), std::stoi(port_), Wide(databaseText).c_str(),
                            Wide(user_).c_str(), Wide(password_).c_str());
  Require(dbms->Connect(), "the library's connection");
  return dbms;
}

Link BenchServer::Connect() const { return ConnectTo(ConnectionString()); }

std::string BenchServer::ConnectionString(const std::string& database) const {
  return "host=" + host_ + " port=" + port_ + " dbname=" + database + " user=" + user_ +
         " password=" + password_;
}

void BenchServer::Run(const std::string& statements) { bench::Run(admin_.get(), statements); }

void BenchServer::Settle(const std::string& table) {
  Run("truncate " + table);
  Run("checkpoint");
}

std::map<int, double> BenchServer::ProcessorSeconds() {
  const Answer rows = bench::Run(admin_.get(), "select pid from pg_stat_activity");
  std::map<int, double> seconds;
  for (int row = 0; row < PQntuples(rows.get()); ++row) {
    const int process = std::stoi(PQgetvalue(rows.get(), row, 0));
    seconds[process] = SecondsOf(process);
  }
  return seconds;
}

Answer Run(PGconn* link, const std::string& statement) {
  Answer answer(PQexec(link, statement.c_str()));
  const ExecStatusType status = PQresultStatus(answer.get());
  Require(status == PGRES_COMMAND_OK || status == PGRES_TUPLES_OK || status == PGRES_COPY_IN,
          statement + ": " + PQresultErrorMessage(answer.get()));
  return answer;
}

}  // namespace bench
