#include "port/Socket.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdint>

namespace sys {
namespace {

// As poll takes it: -1 without a deadline.
int MillisecondsUntil(SocketDeadline deadline) {
  if (deadline == SocketDeadline::max()) return -1;
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now()).count();
  return static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
}

}  // namespace

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(socket, SHUT_RDWR);
}

bool WaitForSocket(int socket, SocketEvent event, SocketDeadline deadline) {
  pollfd entry = {socket, 0, 0};
  if (event != SocketEvent::Writable) entry.events |= POLLIN;
  if (event != SocketEvent::Readable) entry.events |= POLLOUT;
  int ready = 0;
  do {
    ready = ::poll(&entry, 1, MillisecondsUntil(deadline));
  } while (ready < 0 && errno == EINTR);
  return ready != 0;
}

}  // namespace sys
