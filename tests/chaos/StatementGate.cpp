#include "chaos/StatementGate.h"

#include <stdexcept>
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

// Makes the server send what it has, without a Sync, which would commit.
constexpr char kFlush[] = {'H', 0, 0, 0, 4};

bool EndsStatement(char letter) { return letter == kQuery || letter == kSync || letter == kCopyDone; }

// Signing in, giving up a COPY, ending the connection.
bool IsOutsideOfStatements(char letter) {
  return letter == '\0' || letter == kPassword || letter == kCopyFail || letter == kTerminate;
}

int NumberAt(const std::string& bytes, std::size_t at) {
  unsigned number = 0;
  for (std::size_t i = at; i < at + 4; ++i) number = number << 8 | static_cast<unsigned char>(bytes[i]);
  return static_cast<int>(number);
}

}  // namespace

StatementGate::StatementGate(std::string host, int port)
    : host_(std::move(host)), serverPort_(port), listener_(Socket::Bound()) {
  port_ = listener_.Port();
}

void StatementGate::Open() {
  listener_.Listen();
  stop_ = Socket::To("127.0.0.1", port_);
  if (!stop_) throw std::runtime_error("the gate cannot listen");
  stopping_ = listener_.Accept();
  thread_ = std::thread([this] { Serve(); });
}

StatementGate::~StatementGate() {
  stop_.Close();
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
  while (platform::WaitForAny({&stopping_, &listener_}) != 0) {
    Link link{listener_.Accept(), Socket::To(host_, serverPort_)};
    if (link.server) Carry(link);
  }
}

// Until one of the two ends, or a fault.
void StatementGate::Carry(Link& link) {
  ProtocolMessages questions(ProtocolMessages::From::Client), answers(ProtocolMessages::From::Server);
  char buffer[kBufferSize];
  while (const std::size_t ready = platform::WaitForAny({&stopping_, &link.client, &link.server})) {
    const bool asks = ready == 1;
    const std::size_t count = (asks ? link.client : link.server).Receive(buffer, sizeof buffer);
    if (count == 0) return;
    ProtocolMessages& messages = asks ? questions : answers;
    messages.Add(buffer, count);
    while (const auto message = messages.Next()) {
      if (asks && !Pass(link, *message)) return;
      if (!asks && message->letter == kBackendKey) link.backend = NumberAt(message->bytes, 5);
    }
    if (!asks && !link.client.SendAll(buffer, count, stopping_)) return;
  }
}

// Holds the messages of a statement until the last of them.
bool StatementGate::Pass(Link& link, const ProtocolMessage& message) {
  Statement& statement = link.statement;
  if (message.letter == kSync) statement.withoutSync = statement.bytes.size();
  if (message.letter == kExecute) statement.executes = true;
  statement.bytes += message.bytes;
  if (EndsStatement(message.letter)) return PassStatement(link, std::exchange(statement, {}));
  if (!IsOutsideOfStatements(message.letter)) return true;
  const std::string bytes = std::exchange(statement, {}).bytes;
  return link.server.SendAll(bytes.data(), bytes.size(), stopping_);
}

bool StatementGate::PassStatement(const Link& link, const Statement& statement) {
  if (!IsDue()) return link.server.SendAll(statement.bytes.data(), statement.bytes.size(), stopping_);
  SendUpToThePoint(link, statement);
  const Then then = fault_(link.backend);
  {
    const std::lock_guard lock(mutex_);
    happened_ = true;
  }
  if (then == Then::Relay) RelayLastWords(link);
  return false;
}

bool StatementGate::IsDue() {
  const std::lock_guard lock(mutex_);
  return ++statements_ == at_;
}

void StatementGate::SendUpToThePoint(const Link& link, const Statement& statement) const {
  const std::string& bytes = statement.bytes;
  if (point_ == Point::After) {
    link.server.SendAll(bytes.data(), bytes.size(), stopping_);
    AwaitAnswer(link, kReadyOrCopyIn);
  } else if (point_ == Point::Inside && statement.withoutSync == 0) {
    link.server.SendAll(bytes.data(), bytes.size() / 2, stopping_);
  } else if (point_ == Point::Inside) {
    link.server.SendAll(bytes.data(), statement.withoutSync, stopping_);
    link.server.SendAll(kFlush, sizeof kFlush, stopping_);
    AwaitAnswer(link, statement.executes ? kExecuted : kPrepared);
  }
}

// Reads what the server sends, up to a message of one of these kinds.
void StatementGate::AwaitAnswer(const Link& link, const std::string& letters) const {
  ProtocolMessages answers(ProtocolMessages::From::Server);
  char buffer[kBufferSize];
  while (platform::WaitForAny({&stopping_, &link.server}) != 0) {
    const std::size_t count = link.server.Receive(buffer, sizeof buffer);
    if (count == 0) return;
    answers.Add(buffer, count);
    while (const auto message = answers.Next()) {
      if (letters.find(message->letter) != letters.npos) return;
    }
  }
}

void StatementGate::RelayLastWords(const Link& link) const {
  char buffer[kBufferSize];
  while (platform::WaitForAny({&stopping_, &link.server}) != 0) {
    const std::size_t count = link.server.Receive(buffer, sizeof buffer);
    if (count == 0 || !link.client.SendAll(buffer, count, stopping_)) return;
  }
}
