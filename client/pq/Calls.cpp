#include "Calls.h"

#include <libpq-fe.h>

#include <utility>

#include "Silence.h"

namespace pq {
namespace {

constexpr char kCopyRefused[] = "COPY goes through the native connection";
constexpr int kAtOnce = 1;

bool IsEncrypted(PGconn* connection) { return PQsslInUse(connection) || PQgssEncInUse(connection); }

// Waits for input and hands it to libpq; false when there will be none.
bool ReadMore(PGconn* connection) {
  if (PQsocket(connection) < 0) return false;
  AwaitServer(connection, sys::SocketEvent::Readable);
  return PQconsumeInput(connection);
}

// Ends a COPY without sending data or keeping what was received.
void EndCopy(PGconn* connection, const PGresult* copy) {
  const ExecStatusType status = PQresultStatus(copy);
  if (status == PGRES_COPY_IN || status == PGRES_COPY_BOTH) PutCopyEnd(connection, kCopyRefused);
  if (status == PGRES_COPY_IN) return;
  char* line = nullptr;
  for (int length = 0; length >= 0;) {
    length = PQgetCopyData(connection, &line, kAtOnce);
    if (length > 0) PQfreemem(line);
    if (length == 0 && !ReadMore(connection)) return;
  }
}

// Returns the first result that is to be kept, else the last one.
template <class Keep>
Result ReadResults(PGconn* connection, int sent, Keep isToBeKept) {
  Result kept;
  if (!sent) return kept;
  Flush(connection);
  while (Result piece{GetResult(connection)}) {
    const bool isCopy = IsCopy(piece.get());
    if (!kept || !isToBeKept(kept)) kept = std::move(piece);
    if (isCopy) break;  // libpq would return it again and again
  }
  return kept;
}

// The result that PQexec returns.
PGresult* ReadToTheLast(PGconn* connection, int sent) {
  return ReadResults(connection, sent, [](const Result&) { return false; }).release();
}

}  // namespace

PGresult* GetResult(PGconn* connection) {
  Result lost;
  while (PQisBusy(connection)) {
    // Bytes that libpq has read and decrypted do not make the socket readable again.
    if (IsEncrypted(connection) && PQconsumeInput(connection) && !PQisBusy(connection)) break;
    if (ReadMore(connection)) continue;
    // Not read by libpq, which would add to the message that it has no socket.
    lost.reset(PQmakeEmptyPGresult(connection, PGRES_FATAL_ERROR));
    break;
  }
  Result result(PQgetResult(connection));
  if (lost && result && IsFailure(result.get()) && !PQresultErrorField(result.get(), PG_DIAG_SQLSTATE)) {
    result = std::move(lost);
  }
  Mark(result.get(), connection);
  return result.release();
}

void Flush(PGconn* connection) {
  while (PQflush(connection) > 0 && PQsocket(connection) >= 0) {
    AwaitServer(connection, sys::SocketEvent::Either);
  }
}

Result ReadToTheEnd(PGconn* connection, int sent) {
  return ReadResults(connection, sent, [](const Result& kept) { return IsFailure(kept.get()); });
}

PGresult* Exec(PGconn* connection, const char* query) {
  if (!DiscardAnswer(connection)) return nullptr;
  return ReadToTheLast(connection, PQsendQuery(connection, query));
}

PGresult* ExecParams(PGconn* connection, const char* query, int parameters, const unsigned* types,
                     const char* const* values, const int* lengths, const int* formats, int resultFormat) {
  if (!DiscardAnswer(connection)) return nullptr;
  return ReadToTheLast(connection, PQsendQueryParams(connection, query, parameters, types, values, lengths,
                                                     formats, resultFormat));
}

int PutCopyData(PGconn* connection, const char* buffer, int bytes) {
  const int accepted = PQputCopyData(connection, buffer, bytes);
  Flush(connection);
  return ReasonGivenUp(connection) ? -1 : accepted;
}

int PutCopyEnd(PGconn* connection, const char* errorMessage) {
  const int accepted = PQputCopyEnd(connection, errorMessage);
  Flush(connection);
  return accepted;
}

bool IsCopy(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_COPY_IN || status == PGRES_COPY_OUT || status == PGRES_COPY_BOTH;
}

bool DiscardAnswer(PGconn* connection) {
  if (PQtransactionStatus(connection) != PQTRANS_ACTIVE) return true;
  bool copyEnded = false;
  while (const Result piece{GetResult(connection)}) {
    if (!IsCopy(piece.get())) continue;
    // libpq returns a COPY again and again when the connection breaks in it.
    if (std::exchange(copyEnded, true)) return false;
    EndCopy(connection, piece.get());
  }
  return true;
}

}  // namespace pq
