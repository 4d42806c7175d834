#pragma once

#include <memory>
#include <string>
#include <vector>

#include "Cell.h"
#include "Markers.h"
#include "Session.h"

namespace pq {

// A statement on a session: has the server parse it as seldom as can be, and streams its rows.
//
// The first execution with parameters goes as the server's unnamed statement, in one round trip. A later one
// with the same types finds it there, unless something else went over the link in between: then the statement
// gets a name, and stays parsed under it. After a failure, or with other types, it is parsed anew.
//
// The unnamed statement of one that gives no rows serves the next command of the same text as well. One that
// gives rows is parsed for each command: its columns may have changed since.
class Statement {
 public:
  explicit Statement(std::shared_ptr<Session> session) : session_(std::move(session)) {}
  ~Statement();
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  void Set(std::shared_ptr<const MarkedStatement> statement);

  // Runs the statement: to its end when it gives no more than one row.
  void Execute(const Parameters& parameters);

  // Puts the next row into the cells; at the end sets them to NULL.
  bool FetchNext();

  // Of the result of the last execution: none without a result set.
  const std::vector<Cell>& Cells() const { return cells_; }
  const std::vector<std::string>& ColumnNames() const { return columnNames_; }

 private:
  Ticket Send(const Parameters& parameters);
  bool IsParsedFor(const Parameters& parameters) const;
  bool TakeOver(const Parameters& parameters);
  Ticket SendParsing(const Parameters& parameters);
  void Leave();
  void Forget();

  void Start();
  void Describe(const PGresult* result);
  void TakeAhead(Result result);
  void Finish(Result result);
  void Advance();
  void ShowRow();
  void DropRows();
  void ClearResult();
  [[noreturn]] void Fail();

  std::shared_ptr<Session> session_;
  std::shared_ptr<const MarkedStatement> statement_ = NoStatement();

  // What the server has of the statement.
  std::vector<unsigned> types_;
  unsigned parsedOn_ = 0;  // number of the link
  Ticket unnamed_ = 0;
  std::string name_;

  // The rows: one is read ahead, so that the end is known as soon as it is there.
  Ticket reading_ = 0;
  bool held_ = false;  // the current row is still to be delivered
  Result row_;
  Result ahead_;
  Result failure_;  // behind the rows; the answer is read to its end
  std::vector<Cell> cells_;
  std::vector<std::string> columnNames_;
};

}  // namespace pq
