#include "Link.h"

#include <libpq-fe.h>

#include <string_view>

#include "Errors.h"
#include "port/ConnectionRefused.h"
#include "port/Socket.h"

namespace pq {
namespace {

constexpr char kSetIsoDates[] = "SET DateStyle TO ISO";
constexpr int kExpandDatabaseName = 1;

[[noreturn]] void ThrowConnectFailure(const PGconn* link) {
  throw ConnectFailure(PQerrorMessage(link), port::ConnectionRefusedText());
}

PGconn* Start(const ConnectionKeywords& keywords) {
  std::vector<const char*> names, values;
  for (const auto& [name, value] : keywords) {
    names.push_back(name.c_str());
    values.push_back(value.c_str());
  }
  names.push_back(nullptr);
  values.push_back(nullptr);
  return PQconnectdbParams(names.data(), values.data(), kExpandDatabaseName);
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
  Link link(Start(keywords));
  if (PQstatus(link.get()) != CONNECTION_OK) ThrowConnectFailure(link.get());
  PQsetNoticeProcessor(
      link.get(), [](void*, const char*) {}, nullptr);
  ReadIsoDates(link.get());
  return link;
}

void CutOff(const PGconn* link) { port::ShutDownSocket(PQsocket(link)); }

}  // namespace pq
