#pragma once

#include <string>
#include <vector>

#include "Cell.h"
#include "Connection.h"
#include "port/LocalTime.h"

namespace pq {

// Streams the rows of a query. One row is read ahead, so that the end of the answer is noticed with the last
// row.
class RowReader {
 public:
  explicit RowReader(Connection& connection) : connection_(connection) {}

  // Discards the previous result and reads the beginning of the answer to a query; all of it if it has at
  // most one row. For a text with several statements, only the first result set is delivered.
  void Start(QueryId query);

  // Whether the first row, which is still to be fetched, has a column in binary that cannot be read.
  bool IsUnreadable() const { return next_ && unreadable_; }

  // Puts the next row into the cells; at the end sets them to NULL.
  bool FetchNext();

  // Drops the result.
  void Clear();

  // Of the current result; empty without one.
  const std::vector<Cell>& Cells() const { return cells_; }
  const std::vector<std::string>& ColumnNames() const { return columnNames_; }

 private:
  void Describe(const PGresult* result);
  Result ReadRow();
  void Finish(Result result);
  void ShowRow();
  void DropRows();
  [[noreturn]] void Fail();

  Connection& connection_;
  QueryId query_ = 0;
  sys::LocalOffsets offsets_;  // of the cells
  bool unreadable_ = false;    // the row has a binary column that cannot be read
  Result row_;
  Result next_;
  Result ahead_;    // the second row, while next_ is the first
  Result failure_;  // thrown after the rows; the answer has been read to its end
  std::vector<Cell> cells_;
  std::vector<std::string> columnNames_;
};

}  // namespace pq
