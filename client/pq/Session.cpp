#include "Session.h"

#include <libpq-fe.h>

#include <string_view>

#include "Errors.h"

namespace pq {
namespace {

constexpr char kPing[] = "";
constexpr char kCommit[] = "COMMIT";
constexpr char kRollback[] = "ROLLBACK";
constexpr char kCommitUndone[] = "The transaction was rolled back: a statement in it has failed";
constexpr char kNamePrefix[] = "dbmsapi_";
constexpr char kCopyRefused[] = "COPY goes through the native connection";
constexpr int kTextResults = 0;

// Ends a COPY that nobody feeds or reads.
void EndCopy(PGconn* link, ExecStatusType status) {
  if (status == PGRES_COPY_IN || status == PGRES_COPY_BOTH) PQputCopyEnd(link, kCopyRefused);
  if (status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH) {
    char* line = nullptr;
    while (PQgetCopyData(link, &line, 0) > 0) PQfreemem(line);
  }
}

bool IsCopy(ExecStatusType status) {
  return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
}

}  // namespace

void Session::Open(const ConnectionKeywords& keywords) {
  link_ = Connect(keywords);
  ++linkNumber_;
  nativeTaken_ = false;
}

void Session::Close() {
  if (!link_) throw Misuse(L"The connection is not connected");
  reading_ = unnamed_ = 0;
  released_.clear();
  link_.reset();
}

void Session::Drop() noexcept {
  if (!link_) return;
  CutOff(link_.get());
  Close();
}

bool Session::IsAlive() {
  if (!link_ || PQstatus(link_.get()) != CONNECTION_OK) return false;
  DiscardUnread();
  unnamed_ = 0;
  const Result answer(PQexec(link_.get(), kPing));
  return PQresultStatus(answer.get()) == PGRES_EMPTY_QUERY;
}

PGconn* Session::NativeLink() {
  if (!link_) return nullptr;
  if (reading_ != 0) DiscardUnread();  // what others are in the middle of is theirs
  nativeTaken_ = true;
  return link_.get();
}

void Session::MakeReady() {
  if (!link_) throw Misuse(L"The connection is not connected");
  DiscardUnread();
  DeallocateReleased();
}

// libpq counts a link as active until its answer is read to the end.
void Session::DiscardUnread() {
  reading_ = 0;
  if (PQtransactionStatus(link_.get()) != PQTRANS_ACTIVE) return;
  while (const Result piece{PQgetResult(link_.get())}) EndCopy(link_.get(), PQresultStatus(piece.get()));
}

// Only outside a transaction: in a failed one the server would refuse, and at the beginning of one it would
// count as its first query.
void Session::DeallocateReleased() {
  if (released_.empty() || PQtransactionStatus(link_.get()) != PQTRANS_IDLE) return;
  std::string statements;
  for (const std::string& name : released_) statements += "DEALLOCATE " + name + ";";
  released_.clear();
  unnamed_ = 0;
  const Result ignored(PQexec(link_.get(), statements.c_str()));  // fails when others have done it already
}

Result Session::Execute(const char* statement) {
  MakeReady();
  unnamed_ = 0;
  Result result(PQexec(link_.get(), statement));
  if (!result || IsFailure(result.get())) ThrowFailure(result.get(), link_.get());
  return result;
}

std::string Session::Value(const char* query) {
  const Result result = Execute(query);
  return PQntuples(result.get()) > 0 ? PQgetvalue(result.get(), 0, 0) : "";
}

bool Session::IsInTransaction() {
  MakeReady();
  const PGTransactionStatusType status = PQtransactionStatus(link_.get());
  return status == PQTRANS_INTRANS || status == PQTRANS_INERROR;
}

void Session::Commit() {
  if (!IsInTransaction()) return;
  const Result result = Execute(kCommit);
  if (PQcmdStatus(result.get()) != std::string_view(kRollback)) return;
  throw StatementFailure(PGRES_FATAL_ERROR, kCommitUndone, "");
}

void Session::Rollback() {
  if (IsInTransaction()) Execute(kRollback);
}

Ticket Session::Send(const std::string& text) {
  unnamed_ = 0;
  return Sent(PQsendQuery(link_.get(), text.c_str()));
}

Ticket Session::SendParsing(const std::string& text, const std::vector<unsigned>& types,
                            const Parameters& parameters) {
  unnamed_ = 0;
  unnamed_ =
      Sent(PQsendQueryParams(link_.get(), text.c_str(), parameters.Count(), types.data(), parameters.Values(),
                             parameters.Lengths(), parameters.Formats(), kTextResults));
  return unnamed_;
}

Ticket Session::SendPrepared(const std::string& name, const Parameters& parameters) {
  return Sent(PQsendQueryPrepared(link_.get(), name.c_str(), parameters.Count(), parameters.Values(),
                                  parameters.Lengths(), parameters.Formats(), kTextResults));
}

Ticket Session::Sent(int accepted) {
  if (!accepted) ThrowFailure(nullptr, link_.get());
  PQsetSingleRowMode(link_.get());
  return reading_ = ++lastTicket_;
}

Result Session::Next() {
  Result piece(PQgetResult(link_.get()));
  if (!IsCopy(PQresultStatus(piece.get()))) return piece;
  DiscardUnread();
  throw Misuse(L"COPY goes through the native connection");
}

std::string Session::Prepare(const std::string& text, const std::vector<unsigned>& types) {
  std::string name = kNamePrefix + std::to_string(++lastName_);
  const Result result(
      PQprepare(link_.get(), name.c_str(), text.c_str(), static_cast<int>(types.size()), types.data()));
  if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) ThrowFailure(result.get(), link_.get());
  return name;
}

void Session::Release(const std::string& name, unsigned linkNumber) {
  if (link_ && linkNumber == linkNumber_ && !name.empty()) released_.push_back(name);
}

}  // namespace pq
