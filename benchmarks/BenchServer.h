#pragma once

#include <libpq-fe.h>

#include <memory>
#include <string>

#include "DbmsAPI/Dbms.h"

// The server to measure with, from DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD, and a database of the
// program's own on it, which is made anew.

namespace bench {

struct FinishLink {
  void operator()(PGconn* link) const { PQfinish(link); }
};
using Link = std::unique_ptr<PGconn, FinishLink>;

struct ClearResult {
  void operator()(PGresult* result) const { PQclear(result); }
};
using Answer = std::unique_ptr<PGresult, ClearResult>;

class BenchServer {
 public:
  // Makes the database, with the release of TimescaleDB that DBMSAPI_BENCH_TIMESCALE names, if any. A locale
  // is given as CREATE DATABASE takes it; without one it is the server's.
  explicit BenchServer(const std::string& database, const std::string& locale = "");
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  // A connected object of the library, or a bare link of libpq's.
  std::shared_ptr<Dbms> Library() const;
  Link Connect() const;

  // What libpq, libpqxx and SOCI take.
  std::string ConnectionString(const std::string& database) const;
  std::string ConnectionString() const { return ConnectionString(database_); }

  // Runs statements beside the measuring, as an administrator.
  void Run(const std::string& statements);

  // Empties a table and writes everything out, so that each turn finds the server alike.
  void Settle(const std::string& table);

  const std::string& host() const { return host_; }
  const std::string& port() const { return port_; }
  const std::string& user() const { return user_; }
  const std::string& password() const { return password_; }
  const std::string& database() const { return database_; }

 private:
  std::string host_, port_, user_, password_, database_;
  Link admin_;
};

// Runs a statement that must succeed.
Answer Run(PGconn* link, const std::string& statement);

}  // namespace bench
