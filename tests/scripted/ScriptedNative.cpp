// A fake table of libpq's entry points over the scripted server.

#include <pgAPI.h>

#include <cstring>
#include <deque>
#include <string>

#include "port/Utf8.h"
#include "scripted/ScriptedConnection.h"
#include "scripted/ScriptedServer.h"

using scripted::Server;

struct pg_result {
  int status;
  std::string message;
  std::string sqlState;
};

namespace {

constexpr int kCommandOk = 1;
constexpr int kCopyIn = 4;
constexpr int kFatalError = 7;
constexpr int kSqlState = 'C';  // PG_DIAG_SQLSTATE

std::deque<PGresult*> waiting;  // results that PQgetResult will hand out

PGresult* NewResult(int status, std::string message = {}, std::string sqlState = {}) {
  ++Server::Current().openResults;
  return new pg_result{status, std::move(message), std::move(sqlState)};
}

PGresult* Exec(PGconn*, const char* query) {
  const auto failure = Server::Current().ExecuteNative({sys::FromUtf8(query), {}});
  if (failure && failure->text.empty()) return nullptr;  // as libpq does on a lost connection
  if (failure) return NewResult(kFatalError, sys::ToUtf8(failure->text), failure->sqlState);
  return NewResult(std::strncmp(query, "COPY ", 5) == 0 ? kCopyIn : kCommandOk);
}

int ResultStatus(const PGresult* result) { return result ? result->status : kFatalError; }

// libpq returns text that the caller must not change.
char* ResultErrorMessage(const PGresult* result) {
  static char none[] = "";
  return result ? const_cast<PGresult*>(result)->message.data() : none;
}

char* ResultErrorField(const PGresult* result, int field) {
  if (field != kSqlState || !result || result->sqlState.empty()) return nullptr;
  return const_cast<PGresult*>(result)->sqlState.data();
}

void Clear(PGresult* result) {
  if (!result) return;
  --Server::Current().openResults;
  delete result;
}

int PutCopyData(PGconn*, const char* buffer, int bytes) {
  Server& server = Server::Current();
  server.copied.emplace_back(buffer, static_cast<std::size_t>(bytes));
  return server.refusedCopyPiece == server.copied.size() ? -1 : 1;
}

int PutCopyEnd(PGconn*, const char* message) {
  Server& server = Server::Current();
  server.events.push_back(message == nullptr ? L"copy end" : L"copy end " + sys::FromUtf8(message));
  if (message != nullptr) {
    waiting.push_back(NewResult(kFatalError, "ERROR:  COPY from stdin failed"));
  } else if (server.copyFailure) {
    waiting.push_back(NewResult(kFatalError, *server.copyFailure));
  } else {
    waiting.push_back(NewResult(kCommandOk));
  }
  return 1;
}

PGresult* GetResult(PGconn*) {
  if (const auto status = Server::Current().endlessCopyStatus) return NewResult(*status);
  if (waiting.empty()) return nullptr;
  PGresult* result = waiting.front();
  waiting.pop_front();
  return result;
}

char* ErrorMessage(const PGconn*) { return Server::Current().connectionError.data(); }

}  // namespace

saAPI* SAConnection::NativeAPI() const {
  static pgAPI table;
  table.PQexec = Exec;
  table.PQresultStatus = ResultStatus;
  table.PQresultErrorMessage = ResultErrorMessage;
  table.PQresultErrorField = ResultErrorField;
  table.PQclear = Clear;
  table.PQputCopyData = PutCopyData;
  table.PQputCopyEnd = PutCopyEnd;
  table.PQgetResult = GetResult;
  table.PQerrorMessage = ErrorMessage;
  return &table;
}

saConnectionHandles* SAConnection::NativeHandles() {
  static pgConnectionHandles handles;
  return &handles;
}
