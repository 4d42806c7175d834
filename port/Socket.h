#pragma once

namespace sys {

// Shuts a connected socket down in both directions, without waiting: what is unsent is given up, and later
// reads and writes on it return at once. The descriptor stays open. A negative one is ignored.
void ShutDownSocket(int socket);

enum class SocketEvent { Readable, Writable };

// Waits until a socket can be read from or written to without waiting, or has failed.
void WaitForSocket(int socket, SocketEvent event);

}  // namespace sys
