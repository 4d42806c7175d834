#include "port/Socket.h"

#include <winsock2.h>

namespace sys {

void ShutDownSocket(int socket) {
  if (socket >= 0) ::shutdown(static_cast<SOCKET>(socket), SD_BOTH);
}

void WaitForSocket(int socket, SocketEvent event) {
  // Not WSAPoll, which in older systems never reports a refused connection.
  fd_set awaited, failed;
  FD_ZERO(&awaited);
  FD_ZERO(&failed);
  FD_SET(static_cast<SOCKET>(socket), &awaited);
  FD_SET(static_cast<SOCKET>(socket), &failed);
  const bool reads = event == SocketEvent::Readable;
  ::select(0, reads ? &awaited : nullptr, reads ? nullptr : &awaited, &failed, nullptr);
}

}  // namespace sys
