#include "historian/recorder/CallLimit.h"

#include <pgAPI.h>

#include <algorithm>
#include <utility>

#include "port/Socket.h"

namespace historian::recorder {
namespace {

// On Windows, a call that is just about to wait misses that its socket is shut down.
constexpr auto kUntilAgain = std::chrono::milliseconds(100);

int SocketOf(Dbms& dbms) {
  const auto connection = dbms.GetConnection();
  if (!connection->isConnected()) return -1;
  const auto* api = static_cast<const pgAPI*>(connection->NativeAPI());
  return api->PQsocket(static_cast<const pgConnectionHandles*>(connection->NativeHandles())->conn);
}

}  // namespace

CallLimit::CallLimit() : thread_([this] { Watch(); }) {}

CallLimit::~CallLimit() {
  {
    const std::lock_guard lock(mutex_);
    stopping_ = true;
  }
  changed_.notify_one();
  thread_.join();
}

CallLimit::Guard::Guard(CallLimit& limit, Dbms& dbms, std::chrono::milliseconds most)
    : limit_(limit), socket_(SocketOf(dbms)), most_(most) {
  Renew();
}

void CallLimit::Guard::Renew() { limit_.Arm(socket_, Clock::now() + most_); }

void CallLimit::Arm(int socket, Clock::time_point end) {
  {
    const std::lock_guard lock(mutex_);
    socket_ = socket;
    end_ = end;
    again_ = {};
  }
  changed_.notify_one();
}

void CallLimit::Disarm() {
  const std::lock_guard lock(mutex_);
  socket_ = -1;
  end_ = Clock::time_point::max();
}

void CallLimit::EndBy(Clock::time_point end) {
  {
    const std::lock_guard lock(mutex_);
    lastEnd_ = end;
  }
  changed_.notify_one();
}

bool CallLimit::TakeExceeded() {
  const std::lock_guard lock(mutex_);
  return std::exchange(exceeded_, false);
}

void CallLimit::Watch() {
  std::unique_lock lock(mutex_);
  while (!stopping_) {
    const Clock::time_point end = std::max(std::min(end_, lastEnd_), again_);
    if (socket_ < 0 || end == Clock::time_point::max()) {
      changed_.wait(lock);
    } else if (Clock::now() < end) {
      changed_.wait_until(lock, end);
    } else {
      sys::ShutDownSocket(socket_);
      exceeded_ = true;
      again_ = Clock::now() + kUntilAgain;
    }
  }
}

}  // namespace historian::recorder
