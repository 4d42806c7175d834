#include "ConnectionHandle.h"

#include <libpq-fe.h>

#include <string_view>
#include <vector>

#include "Errors.h"
#include "port/ConnectionRefused.h"
#include "port/Socket.h"

namespace pq {
namespace {

constexpr char kSetIsoDates[] = "SET DateStyle TO ISO";
constexpr std::string_view kTimeLimit = "connect_timeout";
constexpr int kExpandDatabaseName = 1;

[[noreturn]] void ThrowConnectFailure(const PGconn* connection) {
  throw ConnectFailure(PQerrorMessage(connection), sys::ConnectionRefusedText());
}

void IgnoreNotice(void*, const char*) {}

// The first message that libpq makes looks for its translations; on Windows two threads that do so at the
// same time may end the process.
void PrepareMessages() { [[maybe_unused]] static const char* const first = PQerrorMessage(nullptr); }

PGconn* Start(const ConnectionKeywords& keywords) {
  PrepareMessages();
  std::vector<const char*> names, values;
  for (const auto& [name, value] : keywords) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  names.push_back(nullptr);
  values.push_back(nullptr);
  return PQconnectStartParams(names.data(), values.data(), kExpandDatabaseName);
}

bool IsTimeLimited(PGconn* connection) {
  bool limited = false;
  PQconninfoOption* options = PQconninfo(connection);
  for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
    if (option->keyword == kTimeLimit) limited = option->val && *option->val;
  }
  PQconninfoFree(options);
  return limited;
}

// Waits until the connection is made or has failed.
void Await(PGconn* connection) {
  if (PQstatus(connection) == CONNECTION_BAD) return;
  // After a time limit only libpq's own waiting goes on to the next host.
  if (IsTimeLimited(connection)) return PQreset(connection);
  PostgresPollingStatusType wanted = PGRES_POLLING_WRITING;
  while (wanted == PGRES_POLLING_READING || wanted == PGRES_POLLING_WRITING) {
    sys::WaitForSocket(PQsocket(connection), wanted == PGRES_POLLING_READING ? sys::SocketEvent::Readable
                                                                             : sys::SocketEvent::Writable);
    wanted = PQconnectPoll(connection);
  }
}

void ReadIsoDates(PGconn* connection) {
  const char* style = PQparameterStatus(connection, "DateStyle");
  if (style && std::string_view(style).starts_with("ISO")) return;
  const Result result(PQexec(connection, kSetIsoDates));
  if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) ThrowConnectFailure(connection);
}

}  // namespace

void FinishConnection::operator()(PGconn* connection) const { PQfinish(connection); }

ConnectionHandle Connect(const ConnectionKeywords& keywords) {
  // In steps, because the server may send notices while the connection is made.
  ConnectionHandle connection(Start(keywords));
  PQsetNoticeProcessor(connection.get(), IgnoreNotice, nullptr);
  Await(connection.get());
  if (PQstatus(connection.get()) != CONNECTION_OK) ThrowConnectFailure(connection.get());
  ReadIsoDates(connection.get());
  return connection;
}

void ShutDown(const PGconn* connection) { sys::ShutDownSocket(PQsocket(connection)); }

}  // namespace pq
