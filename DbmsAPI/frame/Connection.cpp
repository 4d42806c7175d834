#include "DbmsAPI/frame/Diagnostics.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/RoleChange.h"
#include "DbmsAPI/frame/ServerError.h"

namespace {

// The socket error code that the client library puts into the message of a refused connection.
constexpr wchar_t kRefused[] = L"10061";

constexpr int kCouldNotConnect = 1;
constexpr int kStatementFailed = 7;

}  // namespace

bool TirelScada::Connect() {
  return Guard([&] {
    if (connection->isConnected()) return true;
    ConnectTo(*connection);
    return connection->isConnected();
  });
}

bool TirelScada::GetServerVersion(std::wstring& text) {
  const bool done = Guard([&] {
    SAConnection temporary;
    ConnectTo(temporary);
    text = temporary.ServerVersionString();
  });
  if (!done) text = lastError;
  return done;
}

void TirelScada::ConnectTo(SAConnection& target) {
  const std::wstring server = Format(L"{},{}@{}", host, Dbms::port, database);
  target.Connect(server.c_str(), user.c_str(), password.c_str(), SA_PostgreSQL_Client);
}

void TirelScada::HandleDbException(const SAException& error) {
  const int nativeCode = error.ErrNativeCode();
  ReportFailure(error.ErrClass(), nativeCode, std::wstring(error.ErrText()));
  lastSqlState = SqlStateOf(error);
  if (error.ErrClass() != SA_DBMS_API_Error) return;
  const bool refused = nativeCode == kCouldNotConnect && lastError.find(kRefused) != std::wstring::npos;
  if (refused || (nativeCode == kStatementFailed && ConnectionLost())) AbandonServer();
}

void TirelScada::ReportFailure(int errorClass, int nativeCode, const std::wstring& text) {
  lastError = text;
  lastSqlState.clear();
  WriteDebugLine(Format(L"on exception({}, {}) - {}\n", errorClass, nativeCode, text));
}

bool TirelScada::ConnectionLost() { return !connection->isAlive() && connection->isConnected(); }

void TirelScada::AbandonServer() {
  const std::wstring current = host;  // a selector that calls NotifyRoleChange replaces `host`
  SwitchHost(hostSelector, current.c_str(), host, *connection);
}
