#include "port/Socket.h"

#include <sys/socket.h>

namespace port {

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(socket, SHUT_RDWR);
}

}  // namespace port
