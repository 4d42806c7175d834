#pragma once

#include <libpq-fe.h>

#include <map>
#include <memory>
#include <string>

#include "DbmsAPI/Dbms.h"

// The server of the measurements, from DBMSAPI_TEST_HOST, _PORT, _USER and _PASSWORD. Each program creates a
// database there, dropping one of the same name first.

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
  // Creates the database, with the TimescaleDB version that DBMSAPI_BENCH_TIMESCALE names, if any. `locale`
  // is the clause of CREATE DATABASE; the default is the server's locale.
  explicit BenchServer(const std::string& database, const std::string& locale = "");
  ~BenchServer();
  BenchServer(const BenchServer&) = delete;
  BenchServer& operator=(const BenchServer&) = delete;

  // A new connection, of the library (to the database, or by a database text) or of libpq.
  std::shared_ptr<Dbms> Library() const { return Library(database_); }
  std::shared_ptr<Dbms> Library(const std::string& databaseText) const;
  Link Connect() const;

  // For libpq, libpqxx and SOCI.
  std::string ConnectionString(const std::string& database) const;
  std::string ConnectionString() const { return ConnectionString(database_); }

  // Runs statements on a connection of its own.
  void Run(const std::string& statements);

  // Empties a table and makes a checkpoint, so that every turn starts from the same state.
  void Settle(const std::string& table);

  // The processor time of each process of the server, by process id. The server must be on this machine.
  std::map<int, double> ProcessorSeconds();

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
