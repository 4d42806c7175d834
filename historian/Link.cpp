#include "historian/Link.h"

#include <charconv>

#include "DbmsAPI/Diagnostics.h"
#include "historian/Error.h"
#include "port/Utf8.h"

namespace historian {
namespace {

// libpq's ExecStatusType, ConnStatusType, and the field of a result that holds the SQLSTATE.
constexpr int kCommandOk = 1;
constexpr int kTuplesOk = 2;
constexpr int kCopyIn = 4;
constexpr int kConnectionOk = 0;
constexpr int kSqlState = 'C';

// Size of the pieces of a COPY: the server works on one piece while the next ones are on their way.
constexpr std::size_t kCopyPiece = 256 * 1024;

template <class Value>
Value Parse(std::string_view text) {
  Value value = 0;
  std::from_chars(text.data(), text.data() + text.size(), value);
  return value;
}

}  // namespace

std::string_view Result::Text(int row, int column) const {
  return {api_->PQgetvalue(result_.get(), row, column),
          static_cast<std::size_t>(api_->PQgetlength(result_.get(), row, column))};
}

std::int64_t Result::Integer(int row, int column) const { return Parse<std::int64_t>(Text(row, column)); }
double Result::Number(int row, int column) const { return Parse<double>(Text(row, column)); }
std::int64_t Result::Affected() const { return Parse<std::int64_t>(api_->PQcmdTuples(result_.get())); }

Link::Link(Dbms& dbms, std::string operation) : operation_(std::move(operation)) {
  if (!dbms.Connect()) throw Error(operation_, sys::ToUtf8(dbms.GetLastError()), LastSqlState(dbms));
  connection_ = dbms.GetConnection();
  api_ = static_cast<const pgAPI*>(connection_->NativeAPI());
  conn_ = static_cast<const pgConnectionHandles*>(connection_->NativeHandles())->conn;
}

Result Link::Run(const std::string& statement, const std::vector<Value>& values) {
  std::vector<const char*> texts;
  texts.reserve(values.size());
  for (const Value& value : values) texts.push_back(value ? value->c_str() : nullptr);
  return Check(api_->PQexecParams(conn_, statement.c_str(), static_cast<int>(texts.size()), nullptr,
                                  texts.data(), nullptr, nullptr, 0));
}

Result Link::Check(PGresult* result) {
  Result rows(*api_, result);
  const int status = api_->PQresultStatus(result);
  if (status != kCommandOk && status != kTuplesOk) Fail(result);
  return rows;
}

void Link::StartCopy(const std::string& statement) {
  PGresult* result = api_->PQexec(conn_, statement.c_str());
  const Result rows(*api_, result);
  if (api_->PQresultStatus(result) != kCopyIn) Fail(result);
}

void Link::SendCopy(std::string_view bytes) {
  while (!bytes.empty()) {
    const auto piece = bytes.substr(0, kCopyPiece);
    if (api_->PQputCopyData(conn_, piece.data(), static_cast<int>(piece.size())) != 1) {
      FinishCopy();  // throws the server's error, or that of the lost connection
      throw Error(operation_, api_->PQerrorMessage(conn_));
    }
    bytes.remove_prefix(piece.size());
  }
}

std::int64_t Link::FinishCopy() {
  api_->PQputCopyEnd(conn_, nullptr);
  std::int64_t count = 0;
  std::optional<Result> failed;
  PGresult* failure = nullptr;
  while (PGresult* result = api_->PQgetResult(conn_)) {
    Result rows(*api_, result);
    if (api_->PQresultStatus(result) == kCommandOk) {
      count = rows.Affected();
    } else if (!failed) {
      failure = result;
      failed.emplace(std::move(rows));
    }
  }
  if (failed) Fail(failure);
  return count;
}

void Link::CancelCopy() noexcept {
  api_->PQputCopyEnd(conn_, "cancelled");
  while (PGresult* result = api_->PQgetResult(conn_)) api_->PQclear(result);
  DropIfLost();
}

void Link::RollBack() noexcept {
  if (!connection_->isConnected()) return;
  api_->PQclear(api_->PQexec(conn_, "ROLLBACK"));
  DropIfLost();
}

void Link::Fail(const PGresult* result) {
  const char* state = api_->PQresultErrorField(result, kSqlState);
  Error error(operation_, ErrorText(*api_, result, conn_), state ? state : "");
  DropIfLost();
  throw error;
}

void Link::DropIfLost() noexcept {
  if (api_->PQstatus(conn_) == kConnectionOk) return;
  connection_->Destroy();
  conn_ = nullptr;
}

}  // namespace historian
