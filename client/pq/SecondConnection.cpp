#include "SecondConnection.h"

#include <libpq-fe.h>

#include <string_view>

#include "SQLAPI.h"
#include "Text.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr char kQuestion[] =
    "select pg_catalog.pg_backend_pid(), pid, state, wait_event from (select 1) as one "
    "left join pg_catalog.pg_stat_activity on pid = ";
enum Column { kOwnPid, kPid, kState, kWaitEvent };

constexpr char kTimeLimit[] = "10";  // seconds, where the first connection has none

ConnectionKeywords KeywordsOf(PGconn* connection) {
  ConnectionKeywords keywords;
  PQconninfoOption* const options = PQconninfo(connection);
  for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
    if (option->val) keywords.emplace_back(option->keyword, option->val);
  }
  PQconninfoFree(options);
  // Of several servers, the one that the connection is to, whatever it has become.
  for (const auto& [keyword, value] :
       {std::pair("host", PQhost(connection)), std::pair("hostaddr", PQhostaddr(connection)),
        std::pair("port", PQport(connection)), std::pair("password", PQpass(connection)),
        std::pair("target_session_attrs", const_cast<char*>("any"))}) {
    keywords.emplace_back(keyword, value ? value : "");
  }
  if (!HasTimeLimit(connection)) keywords.emplace_back("connect_timeout", kTimeLimit);
  return keywords;
}

// Whether a text ends like an error of a server at the verbosity PQERRORS_SQLSTATE: "FATAL:  53300".
bool EndsWithSqlState(std::string_view text) {
  constexpr std::size_t kLength = 5;
  return text.size() > kLength && text.substr(0, text.size() - kLength).ends_with(":  ") &&
         text.find_first_not_of("0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZ", text.size() - kLength) ==
             std::string_view::npos;
}

bool IsStandby(const PGconn* connection) {
  const char* const value = PQparameterStatus(connection, "in_hot_standby");
  return value && value == std::string_view("on");
}

std::string Judge(const PGconn* connection, const PGconn* second, const PGresult* answer) {
  const auto value = [&](Column column) { return std::string_view(PQgetvalue(answer, 0, column)); };
  const std::string process = "its process " + std::to_string(PQbackendPID(connection));
  if (PQntuples(answer) != 1 || value(kOwnPid) != std::to_string(PQbackendPID(second))) return {};
  if (value(kPid).empty()) {
    return IsStandby(connection) || IsStandby(second) ? "" : process + " for this connection is gone";
  }
  const bool waits = value(kState).starts_with("idle") || value(kWaitEvent) == "ClientRead" ||
                     value(kWaitEvent) == "ClientWrite";
  return waits ? process + " for this connection waits for the client: the network loses what is sent" : "";
}

}  // namespace

std::string AskWhatIsWrong(PGconn* connection) {
  const std::string question = kQuestion + std::to_string(PQbackendPID(connection));
  try {
    const ConnectionHandle second = OpenToAsk(KeywordsOf(connection));
    return Judge(connection, second.get(), RunInTime(second.get(), question).get());
  } catch (const SAException& failure) {
    const std::string text = sys::ToUtf8(View(failure.ErrText()));
    return EndsWithSqlState(text) ? "" : "a second connection to it failed: " + text;
  }
}

}  // namespace pq
