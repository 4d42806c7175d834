#pragma once

// Runs historian's own statements over the connection of a Dbms. Internal: not installed.

#include <pgAPI.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "DbmsAPI/Dbms.h"

namespace historian {

// The result of a statement. Rows and columns count from 0; values are the server's texts in UTF-8.
class Result {
 public:
  Result(const pgAPI& api, PGresult* result) : api_(&api), result_(result, api.PQclear) {}

  int size() const { return api_->PQntuples(result_.get()); }
  bool empty() const { return size() == 0; }
  bool IsNull(int row, int column) const { return api_->PQgetisnull(result_.get(), row, column) != 0; }
  // Valid as long as the rows are; empty for NULL.
  std::string_view Text(int row, int column) const;
  std::int64_t Integer(int row, int column) const;  // 0 for NULL
  double Number(int row, int column) const;         // 0 for NULL
  bool Bool(int row, int column) const { return Text(row, column) == "t"; }
  // The number of rows that an INSERT, UPDATE, DELETE or COPY changed.
  std::int64_t Affected() const;

 private:
  const pgAPI* api_;
  std::unique_ptr<PGresult, void (*)(PGresult*)> result_;
};

// The native connection of a Dbms. Every failure is thrown as an Error. If the server was lost, the
// connection is dropped as well, so that the next use of the Dbms connects again. A failure inside a
// transaction leaves the transaction open, to be rolled back.
class Link {
 public:
  using Value = std::optional<std::string>;  // nullopt: NULL

  // Connects when there is no connection. Errors name the operation.
  Link(Dbms& dbms, std::string operation);

  // Runs a statement with its values, text for $1, $2 ...; several statements when there are no values.
  Result Run(const std::string& statement) { return Check(api_->PQexec(conn_, statement.c_str())); }
  Result Run(const std::string& statement, const std::vector<Value>& values);

  // COPY ... FROM STDIN: start, send any number of pieces, finish. FinishCopy gives the number of rows. If
  // the caller fails in between, CancelCopy makes the server discard what was sent.
  void StartCopy(const std::string& statement);
  void SendCopy(std::string_view bytes);
  std::int64_t FinishCopy();
  void CancelCopy() noexcept;

  // Rolls back without throwing, for use while an exception is handled.
  void RollBack() noexcept;

 private:
  Result Check(PGresult* result);
  [[noreturn]] void Fail(const PGresult* result);
  void DropIfLost() noexcept;

  std::shared_ptr<SAConnection> connection_;
  const pgAPI* api_ = nullptr;
  PGconn* conn_ = nullptr;
  std::string operation_;
};

}  // namespace historian
