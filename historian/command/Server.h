#pragma once

#include <SQLAPI.h>

#include <functional>
#include <memory>
#include <string>

#include "DbmsAPI/Dbms.h"

namespace historian::command {

// Where the database is, as far as the command line says. The rest comes from libpq: PGHOST, PGPORT,
// PGDATABASE, PGUSER, PGPASSWORD, the service file, the password file.
struct ServerOptions {
  std::string host;
  int port = 0;
  std::string database;
  std::string user;
};

// An object that is not connected yet.
std::shared_ptr<Dbms> OpenDbms(const ServerOptions& options, DbmsType type);

// A connection to the database for one run of the program. Failures are thrown as Failure, with the server's
// text.
class Server {
 public:
  explicit Server(const ServerOptions& options);

  // The same server through another type of Dbms, for operations in which the types differ.
  std::shared_ptr<Dbms> Open(DbmsType type) const { return OpenDbms(options_, type); }

  Dbms& dbms() { return *dbms_; }
  // Throws unless an operation has succeeded: "cannot ACTION: the server's text".
  void Require(bool succeeded, const std::string& doing);

  // Runs a statement; `bind` gives its parameters, `row` gets each row as it arrives.
  using Bind = std::function<void(SACommand&)>;
  using Row = std::function<void(SACommand&)>;
  void Query(const std::wstring& statement, const Bind& bind, const Row& row);
  void Query(const std::wstring& statement, const Row& row) { Query(statement, nullptr, row); }
  // The first column of the only row, empty when there is none.
  std::string Value(const std::wstring& statement, const Bind& bind = nullptr);

  // Whether the database has the extension.
  bool HasTimescale();
  // Throws a Refusal unless the table exists; the text says what creates it.
  void RequireTable(const std::string& table);
  // The database's own name, for messages.
  std::string Name();

 private:
  ServerOptions options_;
  std::shared_ptr<Dbms> dbms_;
};

std::string Text(const SAField& field);

}  // namespace historian::command
