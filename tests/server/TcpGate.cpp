#include "server/TcpGate.h"

#include <utility>

using platform::Socket;

TcpGate::TcpGate(std::string host, int port) : host_(std::move(host)), serverPort_(port) {
  listener_.Open();
  thread_ = std::thread([this] { Serve(); });
}

TcpGate::~TcpGate() {
  {
    const std::lock_guard lock(mutex_);
    isStopping_ = true;
  }
  stopped_.notify_all();
  listener_.Stop();
  thread_.join();
  for (std::thread& carrier : carriers_) carrier.join();
}

void TcpGate::Plan(Fault fault, std::int64_t bytes) {
  const std::lock_guard lock(mutex_);
  fault_ = fault;
  faultAt_ = bytes_ + bytes;
}

// How many of the received bytes are passed on, and what happens after them.
TcpGate::Fault TcpGate::Count(std::size_t received, std::size_t& through) {
  const std::lock_guard lock(mutex_);
  const std::int64_t before = bytes_;
  bytes_ += static_cast<std::int64_t>(received);
  through = received;
  if (fault_ == Fault::None || bytes_ < faultAt_) return Fault::None;
  through = static_cast<std::size_t>(faultAt_ - before);
  ++faults_;
  return std::exchange(fault_, Fault::None);
}

void TcpGate::Serve() {
  while (Socket client = listener_.Accept()) {
    if (turnsAway_) continue;
    const int number = ++connections_;
    carriers_.emplace_back(&TcpGate::Carry, this, std::move(client), number);
  }
}

void TcpGate::Carry(Socket client, int number) {
  const Socket server = Socket::To(host_, serverPort_);
  Fault fault = Fault::None;
  while (server && fault != Fault::Cut) {
    if (fault == Fault::Stall) {
      platform::WaitForAny({&listener_.Stopped()});
      return;
    }
    const std::size_t ready = platform::WaitForAny({&listener_.Stopped(), &client, &server});
    if (ready == 0) return;
    const bool fromClient = ready == 1;
    if (!fromClient && number <= withoutAnswers_) {
      if (!Discard(server)) fault = Fault::Stall;  // the client is not notified
    } else if (!Pass(fromClient ? client : server, fromClient ? server : client, fromClient, fault))
      return;
  }
}

bool TcpGate::Pass(const Socket& from, const Socket& to, bool fromClient, Fault& fault) {
  char buffer[16384];
  const std::size_t count = from.Receive(buffer, sizeof buffer);
  if (count == 0 || !Pause()) return false;
  if (fault == Fault::Swallow) return true;
  std::size_t through = count;
  if (fromClient) fault = Count(count, through);
  return to.SendAll(buffer, through, listener_.Stopped());
}

bool TcpGate::Discard(const Socket& from) {
  char buffer[16384];
  return from.Receive(buffer, sizeof buffer) > 0;
}

bool TcpGate::Pause() {
  const std::chrono::milliseconds delay(delayMs_);
  if (delay.count() == 0) return true;
  std::unique_lock lock(mutex_);
  return !stopped_.wait_for(lock, delay, [this] { return isStopping_; });
}
