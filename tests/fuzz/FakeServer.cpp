#include "FakeServer.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "port/Socket.h"

namespace fuzz {
namespace {

using namespace std::chrono_literals;

// When both sides have been silent for this long, one of them waits for something that the other will never
// send, and the connection is closed.
constexpr auto kSilence = 30ms;
constexpr auto kPause = 1ms;
constexpr std::size_t kMostPieces = 64;

constexpr std::uint32_t kVersion3 = 196608;

bool Holds(const std::string& text, const char* part) { return text.find(part) != std::string::npos; }

// The row for the answer to a statement; empty when the statement returns no rows.
std::vector<std::string> RowOf(const std::string& statement) {
  if (!statement.starts_with("select")) return {};
  if (Holds(statement, "from datalog")) return {"TAG", "1700000000.123", "0.1"};
  if (Holds(statement, "from alarm")) {
    return {"1700000000.123", "TAG", "1.5", "label", "1", "2", "3", "4", "1700000000.1", "1700000001"};
  }
  if (Holds(statement, "from report_data_analog")) {
    const char* const kTime = "2023-11-14 22:13:20+00";
    return {kTime, "TAG", "3",   "1", "2", "3",  "4",   "5",  "6",
            kTime, "7",   kTime, "8", "9", "10", kTime, "11", kTime};
  }
  if (Holds(statement, "from userinfo_table")) {
    const char* const kTime = "2023-11-14 22:13:20+00";
    return {"op",  "Operator", "p", "o",   "1", "2", "g",   "r",   "1",
            kTime, "node",     "0", kTime, "d", "3", kTime, "text"};
  }
  return {"1"};
}

Messages AnswerTo(const std::string& statement, bool described, char& transaction) {
  Messages answer;
  if (const auto row = RowOf(statement); !row.empty()) {
    if (described) answer.push_back(Description(row.size()));
    for (int i = 0; i < 3; ++i) answer.push_back(Row(row));
    answer.push_back(Complete("SELECT 3"));
  } else if (statement.starts_with("COPY")) {
    answer.push_back(Message('G', '\0' + Number(3, 2) + Number(0, 2) + Number(0, 2) + Number(0, 2)));
  } else if (statement.empty()) {
    answer.push_back(Message('I', ""));
  } else {
    if (statement.starts_with("BEGIN")) transaction = 'T';
    if (statement.starts_with("COMMIT") || statement.starts_with("ROLLBACK")) transaction = 'I';
    answer.push_back(Complete(statement.substr(0, statement.find(' '))));
  }
  return answer;
}

Messages Greeting() {
  return {Message('R', Number(0, 4)),
          Parameter("server_version", "15.0"),
          Parameter("server_encoding", "UTF8"),
          Parameter("client_encoding", "UTF8"),
          Parameter("DateStyle", "ISO, MDY"),
          Parameter("integer_datetimes", "on"),
          Parameter("standard_conforming_strings", "on"),
          Message('K', Number(1, 4) + Number(2, 4)),
          Ready('I')};
}

}  // namespace

FakeServer::FakeServer(Change change) : change_(std::move(change)) {
  listener_.Open();
  thread_ = std::thread([this] { Run(); });
}

FakeServer::~FakeServer() {
  listener_.Stop();
  thread_.join();
}

void FakeServer::Run() {
  while (platform::Socket client = listener_.Accept()) {
    Link link{std::move(client), behaves_};
    Serve(link);
  }
}

void FakeServer::Serve(Link& link) {
  while (link.open && Await(link)) {
    char bytes[4096];
    const std::size_t count = link.socket.Receive(bytes, sizeof bytes);
    if (count == 0) return;
    link.received.Add(bytes, count);
    while (link.open) {
      const auto message = link.received.Next();
      if (!message) break;
      Handle(link, *message);
    }
  }
}

// Whether the client has sent something, or is gone.
bool FakeServer::Await(const Link& link) const {
  if (link.behaves) return platform::WaitForAny({&listener_.Stopped(), &link.socket}) != 0;
  return !behaves_ && sys::WaitForSocket(static_cast<int>(link.socket.Get()), sys::SocketEvent::Readable,
                                         std::chrono::steady_clock::now() + kSilence);
}

void FakeServer::Handle(Link& link, const ProtocolMessage& message) {
  const auto add = [&](const Messages& answers) {
    link.pending.insert(link.pending.end(), answers.begin(), answers.end());
  };
  const std::string body = message.bytes.substr(5);
  switch (message.letter) {
    case '\0':  // a request for encryption, which is refused, or the startup message
      return Send(link, NumberAt(message.bytes, 4) == kVersion3 ? Greeting() : Messages{"N"});
    case 'Q':
      add(AnswerTo(body.c_str(), true, link.transaction));
      if (link.pending.back()[0] != 'G') link.pending.push_back(Ready(link.transaction));
      break;
    case 'P':
      link.statement = body.c_str() + body.find('\0') + 1;
      add({Message('1', "")});
      return;
    case 'B': return add({Message('2', "")});
    case 'D': {
      const auto row = RowOf(link.statement);
      return add({row.empty() ? Message('n', "") : Description(row.size())});
    }
    case 'E': return add(AnswerTo(link.statement, false, link.transaction));
    case 'S': add({Ready(link.transaction)}); break;
    case 'c': add({Complete("COPY 3"), Ready(link.transaction)}); break;
    case 'f':
      link.transaction = link.transaction == 'T' ? 'E' : 'I';
      add({Failure("57014", "COPY from stdin failed"), Ready(link.transaction)});
      break;
    case 'X': link.open = false; return;
    default: return;
  }
  Send(link, std::exchange(link.pending, {}));
}

void FakeServer::Send(Link& link, Messages messages) {
  Answer answer;
  if (link.behaves) {
    for (const std::string& message : messages) answer.bytes += message;
  } else {
    answer = change_(std::move(messages));
  }
  std::size_t piece = answer.bytes.size();
  if (answer.piece > 0) piece = std::max(answer.piece, piece / kMostPieces + 1);
  for (std::size_t at = 0; at < answer.bytes.size() && link.open; at += piece) {
    if (at > 0) std::this_thread::sleep_for(kPause);
    const std::string part = answer.bytes.substr(at, piece);
    // A client that sends without end and reads nothing must not stop the server: it closes instead.
    link.open = platform::SendWithoutWaiting(static_cast<int>(link.socket.Get()), part.data(), part.size());
  }
  if (answer.ends) link.open = false;
}

}  // namespace fuzz
