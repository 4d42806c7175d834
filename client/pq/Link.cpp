#include "Link.h"

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

[[noreturn]] void ThrowConnectFailure(const PGconn* link) {
  throw ConnectFailure(PQerrorMessage(link), sys::ConnectionRefusedText());
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

bool IsTimeLimited(PGconn* link) {
  bool limited = false;
  PQconninfoOption* options = PQconninfo(link);
  for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
    if (option->keyword == kTimeLimit) limited = option->val && *option->val;
  }
  PQconninfoFree(options);
  return limited;
}

// Waits until the link stands or has failed.
void Await(PGconn* link) {
  if (PQstatus(link) == CONNECTION_BAD) return;
  // After a time limit only libpq's own waiting goes on to the next host.
  if (IsTimeLimited(link)) return PQreset(link);
  PostgresPollingStatusType wanted = PGRES_POLLING_WRITING;
  while (wanted == PGRES_POLLING_READING || wanted == PGRES_POLLING_WRITING) {
    sys::WaitForSocket(PQsocket(link), wanted == PGRES_POLLING_READING ? sys::SocketEvent::Readable
                                                                       : sys::SocketEvent::Writable);
    wanted = PQconnectPoll(link);
  }
}

void ReadIsoDates(PGconn* link) {
  const char* style = PQparameterStatus(link, "DateStyle");
  if (style && std::string_view(style).starts_with("ISO")) return;
  const Result result(PQexec(link, kSetIsoDates));
  if (PQresultStatus(result.get()) != PGRES_COMMAND_OK) ThrowConnectFailure(link);
}

}  // namespace

void FinishLink::operator()(PGconn* link) const { PQfinish(link); }

Link Connect(const ConnectionKeywords& keywords) {
  // In steps, because the server may have notices while the link is being made.
  Link link(Start(keywords));
  PQsetNoticeProcessor(link.get(), IgnoreNotice, nullptr);
  Await(link.get());
  if (PQstatus(link.get()) != CONNECTION_OK) ThrowConnectFailure(link.get());
  ReadIsoDates(link.get());
  return link;
}

void CutOff(const PGconn* link) { sys::ShutDownSocket(PQsocket(link)); }

}  // namespace pq
