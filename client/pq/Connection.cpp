#include "Connection.h"

#include <libpq-fe.h>

#include <string_view>
#include <utility>

#include "Calls.h"
#include "Errors.h"
#include "Types.h"
#include "port/LocalTime.h"
#include "port/Socket.h"

namespace pq {
namespace {

constexpr char kPing[] = "";
constexpr char kCommit[] = "COMMIT";
constexpr char kRollback[] = "ROLLBACK";
constexpr char kCommitRolledBack[] = "The transaction was rolled back: a statement in it has failed";
constexpr char kDeallocate[] = "DEALLOCATE ";
constexpr char kNamePrefix[] = "dbmsapi_";
constexpr char kEndlessCopy[] = "The server answered the end of COPY by another COPY";

}  // namespace

void Connection::Open(const ConnectionKeywords& keywords) {
  handle_ = Connect(keywords);
  released_ = std::make_shared<PreparedNames>();
}

void Connection::Close() {
  if (!handle_) throw UsageError(L"The connection is not connected");
  reading_ = 0;
  released_.reset();
  handle_.reset();
}

void Connection::Destroy() noexcept {
  if (!handle_) return;
  sys::ShutDownSocket(PQsocket(handle_.get()));  // so that closing neither sends anything nor waits
  Close();
}

bool Connection::IsAlive() {
  if (!handle_ || PQstatus(handle_.get()) != CONNECTION_OK) return false;
  DiscardUnread();
  const Result answer(Exec(handle_.get(), kPing));
  return PQresultStatus(answer.get()) == PGRES_EMPTY_QUERY;
}

PGconn* Connection::NativeHandle() {
  // Only rows that a command left unread; a COPY that the owner of the handle has started continues.
  if (handle_ && reading_ != 0) DiscardUnread();
  return handle_.get();
}

void Connection::MakeReady() {
  if (!handle_) throw UsageError(L"The connection is not connected");
  DiscardUnread();
  if (!handle_) throw StatementFailure(PGRES_FATAL_ERROR, kEndlessCopy);
  RestoreIsoDates(handle_.get());
}

// Destroys a connection whose server does not end a COPY.
void Connection::DiscardUnread() {
  reading_ = 0;
  // Notifications after a LISTEN; libpq keeps them until they are fetched.
  while (PGnotify* const notification = PQnotifies(handle_.get())) PQfreemem(notification);
  if (!DiscardAnswer(handle_.get())) Destroy();
}

Result Connection::Execute(const char* statement) {
  MakeReady();
  Result result = ReadToTheEnd(handle_.get(), PQsendQuery(handle_.get(), statement));
  if (!result || IsFailure(result.get())) ThrowFailure(result.get(), handle_.get());
  return result;
}

std::string Connection::Value(const char* query) {
  const Result result = Execute(query);
  return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

bool Connection::IsIdle() const { return PQtransactionStatus(handle_.get()) == PQTRANS_IDLE; }

bool Connection::IsInTransaction() {
  MakeReady();
  const PGTransactionStatusType status = PQtransactionStatus(handle_.get());
  return status == PQTRANS_INTRANS || status == PQTRANS_INERROR;
}

void Connection::Commit() {
  if (!IsInTransaction()) return;
  const Result result = Execute(kCommit);
  if (PQcmdStatus(result.get()) != std::string_view(kRollback)) return;
  throw StatementFailure(PGRES_FATAL_ERROR, kCommitRolledBack);
}

void Connection::Rollback() {
  if (IsInTransaction()) Execute(kRollback);
}

SessionZone Connection::Zone() const {
  const char* const status = PQparameterStatus(handle_.get(), "TimeZone");
  const std::string_view zone = status ? status : "";
  if (zone == "UTC" || zone == "Etc/UTC" || zone == "GMT") return SessionZone::Utc;
  sys::ReadTimeZone();
  return !zone.empty() && zone == sys::LocalZoneName() ? SessionZone::Process : SessionZone::Unknown;
}

QueryId Connection::Send(Statement& statement, const Parameters& parameters, bool inBinary) {
  MakeReady();
  PGconn* const handle = handle_.get();
  const int format = inBinary ? kBinaryFormat : kTextFormat;
  if (parameters.Count() == 0) {
    const char* const text = statement.text.c_str();
    const bool isPlain = !inBinary || statement.text.find(';') != std::string::npos;
    return Sent(isPlain ? PQsendQuery(handle, text)
                        : PQsendQueryParams(handle, text, 0, nullptr, nullptr, nullptr, nullptr, format));
  }

  if (statement.released.expired() || !parameters.Fit(statement.types)) {
    statement.Release();
    parameters.UpdateTypes(statement.types);
    statement.released = released_;
    return Sent(PQsendQueryParams(handle, statement.text.c_str(), parameters.Count(), statement.types.data(),
                                  parameters.Values(), parameters.Lengths(), parameters.Formats(), format));
  }
  if (statement.name.empty()) statement.name = Prepare(statement);
  return Sent(PQsendQueryPrepared(handle, statement.name.front().c_str(), parameters.Count(),
                                  parameters.Values(), parameters.Lengths(), parameters.Formats(), format));
}

QueryId Connection::Sent(int accepted) {
  if (!accepted) ThrowFailure(nullptr, handle_.get());
  PQsetSingleRowMode(handle_.get());
  Flush(handle_.get());
  return reading_ = ++lastQuery_;
}

PreparedNames Connection::Prepare(const Statement& statement) {
  DeallocateReleased();
  PreparedNames name = {kNamePrefix + std::to_string(++lastName_)};
  const int sent = PQsendPrepare(handle_.get(), name.front().c_str(), statement.text.c_str(),
                                 static_cast<int>(statement.types.size()), statement.types.data());
  const Result result = ReadToTheEnd(handle_.get(), sent);
  if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) ThrowFailure(result.get(), handle_.get());
  return name;
}

// Only outside a transaction: in a failed one the server would refuse, and in a new one it would count as the
// first query. One by one: it fails for a name that others have deallocated already.
void Connection::DeallocateReleased() {
  if (!IsIdle()) return;
  for (const std::string& name : *released_) Result(Exec(handle_.get(), (kDeallocate + name).c_str()));
  released_->clear();
}

Result Connection::Next() {
  Result piece(GetResult(handle_.get()));
  if (!IsCopy(piece.get())) return piece;
  DiscardUnread();
  throw UsageError(L"COPY goes through the native connection");
}

}  // namespace pq
