#pragma once

#include <string>
#include <vector>

#include "Cell.h"
#include "Connection.h"

namespace pq {

// Streams the rows of a query. One row is read ahead, so that the end is known as soon as it is there.
class RowReader {
 public:
  explicit RowReader(Connection& connection) : connection_(connection) {}

  // Discards the former result and reads the answer to a query: to its end when that gives no more than one
  // row. Further result sets, of a text with several statements, are passed over.
  void Start(QueryId query);

  // Puts the next row into the cells; at the end sets them to NULL.
  bool FetchNext();

  // Without a result.
  void Clear();

  // Of the current result: none without a result set.
  const std::vector<Cell>& Cells() const { return cells_; }
  const std::vector<std::string>& ColumnNames() const { return columnNames_; }

 private:
  void Describe(const PGresult* result);
  void TakeAhead(Result result);
  void Finish(Result result);
  void Advance();
  void ShowRow();
  void DropRows();
  [[noreturn]] void Fail();

  Connection& connection_;
  QueryId query_ = 0;
  bool held_ = false;  // the current row is still to be delivered
  Result row_;
  Result ahead_;
  Result failure_;  // that follows the rows; the answer is read to its end
  std::vector<Cell> cells_;
  std::vector<std::string> columnNames_;
};

}  // namespace pq
