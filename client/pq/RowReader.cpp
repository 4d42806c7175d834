#include "RowReader.h"

#include <libpq-fe.h>

#include <utility>

#include "BinaryFields.h"
#include "Errors.h"
#include "Types.h"

namespace pq {
namespace {

// The end of a statement that gives no rows.
bool IsRowless(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY;
}

bool IsRow(const PGresult* result) { return PQresultStatus(result) == PGRES_SINGLE_TUPLE; }

}  // namespace

void RowReader::Start(QueryId query) {
  Clear();
  query_ = query;
  Result first = connection_.Next();
  while (IsRowless(first.get())) first = connection_.Next();
  Describe(first.get());
  if (IsRow(first.get())) {
    next_ = std::move(first);
    ahead_ = ReadRow();
  } else {
    Finish(std::move(first));
  }
  // If the error follows at most one row, the implicit commit may have failed. Throw now, so that a caller
  // who never fetches still sees it.
  if (failure_ && !ahead_) Fail();
}

void RowReader::Describe(const PGresult* result) {
  const int count = PQnfields(result);
  SessionZone zone = SessionZone::Unknown;
  offsets_ = {};
  for (int i = 0; i < count; ++i) {
    Cell& cell = cells_.emplace_back();
    cell.type = PQftype(result, i);
    const bool isBinary = PQfformat(result, i) == kBinaryFormat;
    if (isBinary && cell.type == kTimestamptz && zone == SessionZone::Unknown) zone = connection_.Zone();
    if (zone == SessionZone::Process) cell.offsets = &offsets_;
    cell.binary = isBinary && IsReadableInBinary(cell.type, zone != SessionZone::Unknown);
    unreadable_ = unreadable_ || isBinary != cell.binary;
    columnNames_.push_back(PQfname(result, i));
  }
}

// Returns null at the end, which it reads.
Result RowReader::ReadRow() {
  Result result = connection_.Next();
  if (IsRow(result.get())) return result;
  Finish(std::move(result));
  return nullptr;
}

// Reads the answer to its end.
void RowReader::Finish(Result result) {
  for (; result; result = connection_.Next()) {
    if (!failure_ && IsFailure(result.get())) failure_ = std::move(result);
  }
}

bool RowReader::FetchNext() {
  if (next_ && !connection_.IsReading(query_)) {
    DropRows();
    throw UsageError(L"The rows left were discarded when the connection went on to something else");
  }
  row_ = std::move(next_);
  if (row_) {
    next_ = ahead_ ? std::move(ahead_) : ReadRow();
  } else if (failure_) {
    Fail();
  }
  ShowRow();
  return row_ != nullptr;
}

void RowReader::ShowRow() {
  const PGresult* row = row_.get();
  int column = 0;
  for (Cell& cell : cells_) {
    cell.length = row ? PQgetlength(row, 0, column) : 0;
    const bool isNull = cell.length == 0 && (!row || PQgetisnull(row, 0, column));
    cell.data = isNull ? nullptr : PQgetvalue(row, 0, column);
    ++column;
  }
}

void RowReader::DropRows() {
  row_.reset();
  next_.reset();
  ahead_.reset();
  ShowRow();
}

void RowReader::Clear() {
  DropRows();
  failure_.reset();
  unreadable_ = false;
  cells_.clear();
  columnNames_.clear();
}

void RowReader::Fail() {
  const Result failure = std::move(failure_);
  DropRows();
  ThrowFailure(failure.get(), connection_.handle());
}

}  // namespace pq
