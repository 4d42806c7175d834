#include "Statement.h"

#include <libpq-fe.h>

#include <utility>

#include "Errors.h"

namespace pq {
namespace {

constexpr char kUnnamed[] = "";

// The end of a statement that gives no rows.
bool IsRowless(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_COMMAND_OK || status == PGRES_EMPTY_QUERY;
}

bool IsRow(const PGresult* result) { return PQresultStatus(result) == PGRES_SINGLE_TUPLE; }

}  // namespace

Statement::~Statement() { Leave(); }

void Statement::Set(std::shared_ptr<const MarkedStatement> statement) {
  Leave();
  ClearResult();
  types_.clear();
  statement_ = std::move(statement);
}

// Done with the statement: another command may take over what is parsed.
void Statement::Leave() {
  const bool isRowless = cells_.empty();
  if (parsedOn_ != 0 && name_.empty() && isRowless && session_->HoldsUnnamed(unnamed_)) {
    session_->Leave({statement_, std::move(types_), unnamed_});
  }
  Forget();
}

// Leaves the name to be released, and has the next execution parse.
void Statement::Forget() {
  session_->Release(name_, parsedOn_);
  name_.clear();
  parsedOn_ = 0;
}

void Statement::Execute(const Parameters& parameters) {
  ClearResult();
  session_->MakeReady();
  reading_ = Send(parameters);
  Start();
}

Ticket Statement::Send(const Parameters& parameters) {
  if (parameters.Count() == 0) return session_->Send(statement_->text);
  if (!IsParsedFor(parameters) && !TakeOver(parameters)) return SendParsing(parameters);
  if (name_.empty()) {
    if (session_->HoldsUnnamed(unnamed_)) return session_->SendPrepared(kUnnamed, parameters);
    name_ = session_->Prepare(statement_->text, types_);
  }
  return session_->SendPrepared(name_, parameters);
}

bool Statement::IsParsedFor(const Parameters& parameters) const {
  return parsedOn_ == session_->LinkNumber() && parameters.Fit(types_);
}

// Takes over what another command of the same text has left parsed.
bool Statement::TakeOver(const Parameters& parameters) {
  const Parsed* const left = session_->FindLeft(statement_.get());
  if (!left || !parameters.Fit(left->types)) return false;
  Forget();
  Parsed parsed = session_->TakeLeft();
  types_ = std::move(parsed.types);
  unnamed_ = parsed.unnamed;
  parsedOn_ = session_->LinkNumber();
  return true;
}

Ticket Statement::SendParsing(const Parameters& parameters) {
  Forget();
  parameters.UpdateTypes(types_);
  unnamed_ = session_->SendParsing(statement_->text, types_, parameters);
  parsedOn_ = session_->LinkNumber();
  return unnamed_;
}

// Reads up to the second row of the first result set.
void Statement::Start() {
  Result first = session_->Next();
  while (first && IsRowless(first.get())) first = session_->Next();
  if (!first) return;
  if (IsFailure(first.get())) {
    Finish(std::move(first));
    Fail();
  }

  Describe(first.get());
  if (IsRow(first.get())) {
    row_ = std::move(first);
    held_ = true;
    TakeAhead(session_->Next());
  } else {
    Finish(session_->Next());
  }
  // Behind no more than one row it may be the commit that failed, and the row be undone: nobody must take the
  // statement for done, even if they never fetch.
  if (failure_ && !ahead_) Fail();
}

void Statement::Describe(const PGresult* result) {
  const int count = PQnfields(result);
  for (int i = 0; i < count; ++i) {
    cells_.push_back({nullptr, 0, PQftype(result, i)});
    columnNames_.push_back(PQfname(result, i));
  }
}

void Statement::TakeAhead(Result result) {
  if (IsRow(result.get())) {
    ahead_ = std::move(result);
  } else {
    Finish(std::move(result));
  }
}

// Reads the answer to its end. Further result sets, of a text with several statements, are passed over.
void Statement::Finish(Result result) {
  for (; result; result = session_->Next()) {
    if (!failure_ && IsFailure(result.get())) failure_ = std::move(result);
  }
}

bool Statement::FetchNext() {
  if ((held_ || ahead_) && !session_->IsReading(reading_)) {
    DropRows();
    throw Misuse(L"The rows left were discarded when the connection went on to something else");
  }
  if (!std::exchange(held_, false)) Advance();
  ShowRow();
  return row_ != nullptr;
}

void Statement::Advance() {
  row_ = std::move(ahead_);
  if (row_) {
    TakeAhead(session_->Next());
  } else if (failure_) {
    Fail();
  }
}

void Statement::ShowRow() {
  const PGresult* row = row_.get();
  int column = 0;
  for (Cell& cell : cells_) {
    cell.length = row ? PQgetlength(row, 0, column) : 0;
    const bool isNull = cell.length == 0 && (!row || PQgetisnull(row, 0, column));
    cell.data = isNull ? nullptr : PQgetvalue(row, 0, column);
    ++column;
  }
}

void Statement::DropRows() {
  held_ = false;
  row_.reset();
  ahead_.reset();
  ShowRow();
}

void Statement::ClearResult() {
  DropRows();
  failure_.reset();
  cells_.clear();
  columnNames_.clear();
}

void Statement::Fail() {
  const Result failure = std::move(failure_);
  Forget();
  types_.clear();
  DropRows();
  ThrowFailure(failure.get(), session_->link());
}

}  // namespace pq
