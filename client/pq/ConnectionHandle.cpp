#include "ConnectionHandle.h"

#include <libpq-fe.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <vector>

#include "Errors.h"
#include "port/ConnectionRefused.h"
#include "port/Socket.h"

namespace pq {
namespace {

constexpr char kSetIsoDates[] = "SET DateStyle TO ISO";
constexpr std::string_view kTimeLimit = "connect_timeout";
constexpr int kLeaveDatabaseName = 0;
constexpr char kUnreadable[] = "The database text holds keywords that cannot be read";

[[noreturn]] void ThrowConnectFailure(const PGconn* connection) {
  throw ConnectFailure(PQerrorMessage(connection), sys::ConnectionRefusedText());
}

void IgnoreNotice(void*, const char*) {}

// The first message that libpq makes looks for its translations; on Windows two threads that do so at the
// same time may end the process.
void PrepareMessages() { [[maybe_unused]] static const char* const first = PQerrorMessage(nullptr); }

bool HoldsKeywords(std::string_view database) {
  return database.find('=') != std::string_view::npos || database.starts_with("postgresql://") ||
         database.starts_with("postgres://");
}

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

// Puts the keywords that a database text holds in its place. libpq would do so, but quotes the text, with a
// password in it, when it cannot read it; and a `hostaddr` in it would count over the server's name.
ConnectionKeywords Expand(const ConnectionKeywords& keywords) {
  const bool namesHost = std::any_of(keywords.begin(), keywords.end(),
                                     [](const auto& keyword) { return keyword.first == "host"; });
  ConnectionKeywords expanded;
  for (const auto& [name, value] : keywords) {
    if (name != "dbname" || !HoldsKeywords(value)) {
      expanded.emplace_back(name, value);
      continue;
    }
    char* quoting = nullptr;
    const Options options(PQconninfoParse(value.c_str(), &quoting));
    PQfreemem(quoting);
    if (!options) throw ConnectFailure(kUnreadable, {});
    for (const PQconninfoOption* option = options.get(); option->keyword; ++option) {
      const bool overruled = namesHost && option->keyword == std::string_view("hostaddr");
      if (option->val && !overruled) expanded.emplace_back(option->keyword, option->val);
    }
  }
  return expanded;
}

PGconn* Start(const ConnectionKeywords& keywords) {
  PrepareMessages();
  std::vector<const char*> names, values;
  for (const auto& [name, value] : keywords) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  names.push_back(nullptr);
  values.push_back(nullptr);
  return PQconnectStartParams(names.data(), values.data(), kLeaveDatabaseName);
}

bool IsTimeLimited(PGconn* connection) {
  const Options options(PQconninfo(connection));
  for (const PQconninfoOption* option = options.get(); option && option->keyword; ++option) {
    if (option->keyword == kTimeLimit) return option->val && *option->val;
  }
  return false;
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
  ConnectionHandle connection(Start(Expand(keywords)));
  PQsetNoticeProcessor(connection.get(), IgnoreNotice, nullptr);
  // The context of an error in a COPY quotes the row.
  PQsetErrorContextVisibility(connection.get(), PQSHOW_CONTEXT_NEVER);
  Await(connection.get());
  if (PQstatus(connection.get()) != CONNECTION_OK) ThrowConnectFailure(connection.get());
  ReadIsoDates(connection.get());
  return connection;
}

void ShutDown(const PGconn* connection) { sys::ShutDownSocket(PQsocket(connection)); }

}  // namespace pq
