#include "ConnectionHandle.h"

#include <libpq-fe.h>

#include <algorithm>
#include <charconv>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

#include "Calls.h"
#include "ConnectionDefaults.h"
#include "Errors.h"
#include "port/Socket.h"

namespace pq {
namespace {

constexpr char kSetIsoDates[] = "SET DateStyle TO ISO;";
constexpr char kSetStandardStrings[] = "SET standard_conforming_strings TO on;";
constexpr char kSetFloatDigits[] = "SET extra_float_digits TO 1;";
constexpr char kTimeoutExpired[] = "timeout expired";
constexpr std::string_view kOptionRefused = "unsupported startup parameter";  // PgBouncer's words
constexpr int kLeaveDatabaseName = 0;
constexpr int kMinTimeLimit = 2;  // seconds; libpq's, too
constexpr char kTimeLimitToAsk[] = "10";

using Deadline = sys::SocketDeadline;

[[noreturn]] void ThrowConnectFailure(const PGconn* connection) {
  // libpq's message contains the system's message, in the language of the process.
  const auto refused = std::make_error_code(std::errc::connection_refused).message();
  throw ConnectFailure(PQerrorMessage(connection), refused);
}

[[noreturn]] void ThrowTimeoutExpired(const PGconn* connection) {
  throw ConnectFailure(std::string("connection to server at \"") + PQhost(connection) + "\", port " +
                           PQport(connection) + " failed: " + kTimeoutExpired,
                       {});
}

void IgnoreNotice(void*, const char*) {}

// Makes libpq load its translations, once. On Windows, two threads that do so at the same time may crash.
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
  return PQconnectStartParams(names.data(), values.data(), kLeaveDatabaseName);
}

// When an attempt to connect that starts now has to end. No value if the limit is not a number.
std::optional<Deadline> DeadlineOf(const ConnectionKeywords& keywords) {
  const std::string_view text = Find(keywords, "connect_timeout");
  int seconds = 0;
  const char* const end = text.data() + text.size();
  const auto read = std::from_chars(text.data(), end, seconds);
  if (!text.empty() && (read.ec != std::errc() || read.ptr != end)) return std::nullopt;
  if (seconds <= 0) return Deadline::max();
  return std::chrono::steady_clock::now() + std::chrono::seconds(std::max(seconds, kMinTimeLimit));
}

bool HasSeveralHosts(const ConnectionKeywords& keywords) {
  return Find(keywords, "host").find(',') != std::string_view::npos ||
         Find(keywords, "hostaddr").find(',') != std::string_view::npos;
}

// Waits until the connection is made or has failed.
void Await(PGconn* connection) {
  if (PQstatus(connection) == CONNECTION_BAD) return;
  const ConnectionKeywords keywords = KeywordsOf(connection);
  const auto deadline = DeadlineOf(keywords);
  // Only libpq itself can try the next host after a time limit, and report a limit that is not a number.
  if (!deadline || (*deadline != Deadline::max() && HasSeveralHosts(keywords))) return PQreset(connection);
  PostgresPollingStatusType wanted = PGRES_POLLING_WRITING;
  while (wanted == PGRES_POLLING_READING || wanted == PGRES_POLLING_WRITING) {
    const auto event =
        wanted == PGRES_POLLING_READING ? sys::SocketEvent::Readable : sys::SocketEvent::Writable;
    if (!sys::WaitForSocket(PQsocket(connection), event, *deadline)) ThrowTimeoutExpired(connection);
    wanted = PQconnectPoll(connection);
  }
}

// In steps, because the server may send notices while the connection is made, which libpq would print.
ConnectionHandle Open(const ConnectionKeywords& keywords, PGVerbosity errors) {
  ConnectionHandle connection(Start(keywords));
  PQsetErrorVerbosity(connection.get(), errors);
  PQsetNoticeProcessor(connection.get(), IgnoreNotice, nullptr);
  // The context of an error in a COPY quotes the row.
  PQsetErrorContextVisibility(connection.get(), PQSHOW_CONTEXT_NEVER);
  Await(connection.get());
  return connection;
}

bool Reports(const PGconn* connection, const char* setting, std::string_view start) {
  const char* const value = PQparameterStatus(connection, setting);
  return value && std::string_view(value).starts_with(start);
}

bool HasIsoDates(const PGconn* connection) { return Reports(connection, "DateStyle", "ISO"); }

// Makes the settings on which the library's parsing depends, if the server or the role has others.
void SetSettings(PGconn* connection) {
  std::string statements;
  if (!HasIsoDates(connection)) statements += kSetIsoDates;
  if (Reports(connection, "standard_conforming_strings", "off")) statements += kSetStandardStrings;
  if (std::string_view(PQoptions(connection)).find("extra_float_digits") == std::string_view::npos) {
    statements += kSetFloatDigits;
  }
  if (!statements.empty()) RunInTime(connection, statements);
}

}  // namespace

void FinishConnection::operator()(PGconn* connection) const { PQfinish(connection); }

ConnectionHandle Connect(const ConnectionKeywords& keywords) {
  ConnectionHandle connection = Open(Complete(keywords, SessionOptions::Sent), PQERRORS_DEFAULT);
  if (std::string_view(PQerrorMessage(connection.get())).find(kOptionRefused) != std::string_view::npos) {
    connection = Open(Complete(keywords, SessionOptions::LeftOut), PQERRORS_DEFAULT);
  }
  if (PQstatus(connection.get()) != CONNECTION_OK) ThrowConnectFailure(connection.get());
  SetSettings(connection.get());
  PQsetnonblocking(connection.get(), 1);
  return connection;
}

ConnectionHandle OpenToAsk(PGconn* asked) {
  ConnectionKeywords keywords = KeywordsOf(asked);
  // Of several servers, the one that the connection is to, whatever it has become.
  for (const auto& [keyword, value] :
       {std::pair("host", PQhost(asked)), std::pair("hostaddr", PQhostaddr(asked)),
        std::pair("port", PQport(asked)), std::pair("password", PQpass(asked))}) {
    keywords.emplace_back(keyword, value ? value : "");
  }
  keywords.emplace_back("target_session_attrs", "any");
  if (DeadlineOf(keywords) == Deadline::max()) keywords.emplace_back("connect_timeout", kTimeLimitToAsk);
  ConnectionHandle connection = Open(keywords, PQERRORS_SQLSTATE);
  if (PQstatus(connection.get()) != CONNECTION_OK) ThrowConnectFailure(connection.get());
  return connection;
}

Result RunInTime(PGconn* connection, const std::string& statements) {
  const Deadline deadline = DeadlineOf(KeywordsOf(connection)).value_or(Deadline::max());
  if (!PQsendQuery(connection, statements.c_str())) ThrowConnectFailure(connection);
  for (Result last;;) {
    while (PQisBusy(connection)) {
      if (!sys::WaitForSocket(PQsocket(connection), sys::SocketEvent::Readable, deadline))
        ThrowTimeoutExpired(connection);
      if (!PQconsumeInput(connection)) ThrowConnectFailure(connection);
    }
    Result result(PQgetResult(connection));
    if (!result) return last;
    if (IsFailure(result.get()) || IsCopy(result.get())) ThrowConnectFailure(connection);
    last = std::move(result);
  }
}

void RestoreIsoDates(PGconn* connection) {
  if (HasIsoDates(connection) || PQtransactionStatus(connection) == PQTRANS_INERROR) return;
  const Result ignored(Exec(connection, kSetIsoDates));
}

}  // namespace pq
