#include "chaos/StatementGate.h"

#include <utility>

namespace {

using platform::Socket;

constexpr std::size_t kBufferSize = 65536;

// Letters of messages from clients.
constexpr char kQuery = 'Q';
constexpr char kExecute = 'E';
constexpr char kSync = 'S';
constexpr char kCopyDone = 'c';
constexpr char kCopyFail = 'f';
constexpr char kPassword = 'p';
constexpr char kTerminate = 'X';

// Letters of messages from the server.
constexpr char kBackendKey = 'K';
constexpr char kReadyOrCopyIn[] = "ZG";
constexpr char kExecuted[] = "CIsE";  // completed, empty, suspended, failed
constexpr char kPrepared[] = "1E";    // parsed, failed

// A Flush, which makes the server send its answers; a Sync would commit.
constexpr std::string_view kFlush("H\0\0\0\4", 5);

bool EndsStatement(char letter) { return letter == kQuery || letter == kSync || letter == kCopyDone; }

// Password, CopyFail and Terminate.
bool IsOutsideOfStatements(char letter) {
  return letter == '\0' || letter == kPassword || letter == kCopyFail || letter == kTerminate;
}

}  // namespace

StatementGate::StatementGate(std::string host, int port) : host_(std::move(host)), serverPort_(port) {}

void StatementGate::Open() {
  listener_.Open();
  thread_ = std::thread([this] { Serve(); });
}

StatementGate::~StatementGate() {
  listener_.Stop();
  if (thread_.joinable()) thread_.join();
}

void StatementGate::At(int n, Point point, Fault fault) {
  const std::lock_guard lock(mutex_);
  statements_ = 0;
  happened_ = false;
  at_ = n;
  point_ = point;
  fault_ = std::move(fault);
}

int StatementGate::Statements() const {
  const std::lock_guard lock(mutex_);
  return statements_;
}

bool StatementGate::Happened() const {
  const std::lock_guard lock(mutex_);
  return happened_;
}

void StatementGate::Serve() {
  while (Socket client = listener_.Accept()) {
    Link link{std::move(client), Socket::To(host_, serverPort_)};
    if (link.server) Carry(link);
  }
}

// Runs until one of the two sides closes, or a fault.
void StatementGate::Carry(Link& link) {
  ProtocolMessages questions(ProtocolMessages::From::Client), answers(ProtocolMessages::From::Server);
  char buffer[kBufferSize];
  while (const std::size_t ready = platform::WaitForAny({&listener_.Stopped(), &link.client, &link.server})) {
    const bool asks = ready == 1;
    const std::size_t count = (asks ? link.client : link.server).Receive(buffer, sizeof buffer);
    if (count == 0) return;
    ProtocolMessages& messages = asks ? questions : answers;
    messages.Add(buffer, count);
    while (const auto message = messages.Next()) {
      if (asks && !Pass(link, *message)) return;
      if (!asks && message->letter == kBackendKey)
        link.backend = static_cast<int>(NumberAt(message->bytes, 5));
    }
    if (!asks && !link.client.SendAll(buffer, count, listener_.Stopped())) return;
  }
}

// Holds back the messages of a statement until the last one.
bool StatementGate::Pass(Link& link, const ProtocolMessage& message) {
  Statement& statement = link.statement;
  if (message.letter == kSync) statement.withoutSync = statement.bytes.size();
  if (message.letter == kExecute) statement.executes = true;
  statement.bytes += message.bytes;
  if (EndsStatement(message.letter)) return PassStatement(link, std::exchange(statement, {}));
  if (!IsOutsideOfStatements(message.letter)) return true;
  return SendToServer(link, std::exchange(statement, {}).bytes);
}

bool StatementGate::PassStatement(const Link& link, const Statement& statement) {
  if (!IsDue()) return SendToServer(link, statement.bytes);
  SendUpToThePoint(link, statement);
  const Then then = fault_(link.backend);
  {
    const std::lock_guard lock(mutex_);
    happened_ = true;
  }
  if (then == Then::Relay) RelayTheRest(link);
  return false;
}

bool StatementGate::IsDue() {
  const std::lock_guard lock(mutex_);
  return ++statements_ == at_;
}

bool StatementGate::SendToServer(const Link& link, std::string_view bytes) const {
  return link.server.SendAll(bytes.data(), bytes.size(), listener_.Stopped());
}

void StatementGate::SendUpToThePoint(const Link& link, const Statement& statement) const {
  const std::string_view bytes = statement.bytes;
  if (point_ == Point::After) {
    SendToServer(link, bytes);
    AwaitAnswer(link, kReadyOrCopyIn);
  } else if (point_ == Point::Inside && statement.withoutSync == 0) {
    SendToServer(link, bytes.substr(0, bytes.size() / 2));
  } else if (point_ == Point::Inside) {
    SendToServer(link, bytes.substr(0, statement.withoutSync));
    SendToServer(link, kFlush);
    AwaitAnswer(link, statement.executes ? kExecuted : kPrepared);
  }
}

// Reads the server's messages up to one of these kinds.
void StatementGate::AwaitAnswer(const Link& link, const std::string& letters) const {
  ProtocolMessages answers(ProtocolMessages::From::Server);
  char buffer[kBufferSize];
  while (platform::WaitForAny({&listener_.Stopped(), &link.server}) != 0) {
    const std::size_t count = link.server.Receive(buffer, sizeof buffer);
    if (count == 0) return;
    answers.Add(buffer, count);
    while (const auto message = answers.Next()) {
      if (letters.find(message->letter) != letters.npos) return;
    }
  }
}

void StatementGate::RelayTheRest(const Link& link) const {
  char buffer[kBufferSize];
  while (platform::WaitForAny({&listener_.Stopped(), &link.server}) != 0) {
    const std::size_t count = link.server.Receive(buffer, sizeof buffer);
    if (count == 0 || !link.client.SendAll(buffer, count, listener_.Stopped())) return;
  }
}
