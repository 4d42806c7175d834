#include "port/Socket.h"

#include <winsock2.h>

namespace port {

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(static_cast<SOCKET>(socket), SD_BOTH);
}

}  // namespace port
