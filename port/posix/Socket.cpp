#include "port/Socket.h"

#include <poll.h>
#include <sys/socket.h>

#include <cerrno>

namespace sys {

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(socket, SHUT_RDWR);
}

void WaitForSocket(int socket, SocketEvent event) {
  constexpr int kForever = -1;
  pollfd entry = {socket, static_cast<short>(event == SocketEvent::Readable ? POLLIN : POLLOUT), 0};
  while (::poll(&entry, 1, kForever) < 0 && errno == EINTR) {
  }
}

}  // namespace sys
