#include "port/Socket.h"

#include <winsock2.h>

#include <algorithm>
#include <climits>
#include <cstdint>

namespace sys {
namespace {

timeval TimeUntil(SocketDeadline deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::microseconds>(deadline - std::chrono::steady_clock::now()).count();
  const std::int64_t microseconds = std::clamp<std::int64_t>(left, 0, std::int64_t{1000000} * INT_MAX);
  return {static_cast<long>(microseconds / 1000000), static_cast<long>(microseconds % 1000000)};
}

}  // namespace

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(static_cast<SOCKET>(socket), SD_BOTH);
}

bool WaitForSocket(int socket, SocketEvent event, SocketDeadline deadline) {
  // Not WSAPoll, which in older systems never reports a refused connection.
  fd_set readable, writable, failed;
  for (fd_set* const set : {&readable, &writable, &failed}) FD_ZERO(set);
  if (event != SocketEvent::Writable) FD_SET(static_cast<SOCKET>(socket), &readable);
  if (event != SocketEvent::Readable) FD_SET(static_cast<SOCKET>(socket), &writable);
  FD_SET(static_cast<SOCKET>(socket), &failed);
  timeval left = {};
  const bool limited = deadline != SocketDeadline::max();
  if (limited) left = TimeUntil(deadline);
  return ::select(0, &readable, &writable, &failed, limited ? &left : nullptr) != 0;
}

}  // namespace sys
