#include "Silence.h"

#include <libpq-events.h>
#include <libpq-fe.h>

#include <algorithm>
#include <charconv>
#include <chrono>
#include <memory>
#include <string>
#include <string_view>

#include "ConnectionHandle.h"
#include "SQLAPI.h"
#include "Text.h"
#include "port/Utf8.h"

namespace pq {
namespace {

using std::chrono::seconds;
using Clock = std::chrono::steady_clock;

constexpr std::string_view kCheck = "dbmsapi.silence_check=", kLimit = "dbmsapi.silence_limit=";
constexpr seconds kDefaultCheck{20}, kDefaultLimit{0};
// Pause before the server is asked again, so that an answer that is on its way can arrive.
constexpr seconds kPause{3};
constexpr int kDoubts = 2;

constexpr char kQuestion[] =
    "select pg_catalog.pg_backend_pid(), pid, state, wait_event from (select 1) as one "
    "left join pg_catalog.pg_stat_activity on pid = ";
enum Column { kOwnPid, kPid, kState, kWaitEvent };

// A setting in the options of the connection; 0 is for ever.
seconds Setting(const PGconn* connection, std::string_view name, seconds otherwise) {
  const char* const given = PQoptions(connection);
  const std::string_view options = given ? given : "";
  const std::size_t at = options.rfind(name);
  int value = 0;
  if (at == std::string_view::npos) return otherwise;
  const std::string_view text = options.substr(at + name.size());
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  return read.ec == std::errc() && value >= 0 ? seconds(value) : otherwise;
}

sys::SocketDeadline After(Clock::time_point start, seconds time) {
  return time.count() > 0 ? start + time : sys::SocketDeadline::max();
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

// Asks the server over a second connection what the process of this one does. Returns what is wrong, as the
// end of a sentence: no answer, or a process that is gone or waits for its client. Empty when the process
// works on a statement, and when the answer is inconclusive: the server refuses the second connection or the
// question, a pooler uses process numbers of its own, or the process is missing at a standby, which may not
// be the standby of this connection.
std::string AskWhatIsWrong(PGconn* connection) {
  const std::string question = kQuestion + std::to_string(PQbackendPID(connection));
  try {
    const ConnectionHandle second = OpenToAsk(connection);
    return Judge(connection, second.get(), RunInTime(second.get(), question).get());
  } catch (const SAException& failure) {
    const std::string text = sys::ToUtf8(View(failure.ErrText()));
    return EndsWithSqlState(text) ? "" : "a second connection to it failed: " + text;
  }
}

// The reason is kept with the connection, and with each result that is marked, until libpq frees them.
int DeleteReason(PGEventId event, void* info, void*) {
  if (event == PGEVT_CONNDESTROY) {
    delete static_cast<std::string*>(
        PQinstanceData(static_cast<PGEventConnDestroy*>(info)->conn, DeleteReason));
  } else if (event == PGEVT_RESULTDESTROY) {
    delete static_cast<std::string*>(
        PQresultInstanceData(static_cast<PGEventResultDestroy*>(info)->result, DeleteReason));
  }
  return 1;
}

void GiveUp(PGconn* connection, seconds silence, const std::string& doubt) {
  auto reason = std::make_unique<std::string>("The server did not answer for " +
                                              std::to_string(silence.count()) + " seconds, and " + doubt);
  if (PQregisterEventProc(connection, DeleteReason, "dbmsapi", nullptr)) {
    PQsetInstanceData(connection, DeleteReason, reason.release());
  }
  sys::ShutDownSocket(PQsocket(connection));
}

char* Text(void* reason) { return reason ? static_cast<std::string*>(reason)->data() : nullptr; }

}  // namespace

void AwaitServer(PGconn* connection, sys::SocketEvent event) {
  const seconds silence = Setting(connection, kCheck, kDefaultCheck);
  const auto start = Clock::now();
  const sys::SocketDeadline end = After(start, Setting(connection, kLimit, kDefaultLimit));
  sys::SocketDeadline next = After(start, silence);
  int doubts = 0;
  std::string doubt;
  while (!sys::WaitForSocket(PQsocket(connection), event, std::min(next, end))) {
    const auto now = Clock::now();
    if (now >= end) doubt = "dbmsapi.silence_limit allows no more";
    if (now >= end || doubts == kDoubts) {
      return GiveUp(connection, std::chrono::duration_cast<seconds>(now - start), doubt);
    }
    doubt = AskWhatIsWrong(connection);
    doubts = doubt.empty() ? 0 : doubts + 1;
    next = Clock::now() + (doubts == 0 ? silence : std::min(silence, kPause));
  }
}

char* ReasonGivenUp(const PGconn* connection) { return Text(PQinstanceData(connection, DeleteReason)); }

char* ReasonGivenUp(const PGresult* result) { return Text(PQresultInstanceData(result, DeleteReason)); }

void Mark(PGresult* result, PGconn* connection) {
  const char* const reason = ReasonGivenUp(connection);
  if (!reason || !result || !PQfireResultCreateEvents(connection, result)) return;
  if (!ReasonGivenUp(result)) PQresultSetInstanceData(result, DeleteReason, new std::string(reason));
}

}  // namespace pq
