#pragma once

#include <chrono>

namespace sys {

// Shuts a connected socket down in both directions, without waiting: what is unsent is given up, and later
// reads and writes on it return at once. The descriptor stays open. A negative one is ignored.
void ShutDownSocket(int socket);

enum class SocketEvent { Readable, Writable };

using SocketDeadline = std::chrono::steady_clock::time_point;  // max(): none

// Waits until a socket can be read from or written to without waiting, or has failed; false when the deadline
// comes first.
bool WaitForSocket(int socket, SocketEvent event, SocketDeadline deadline);

}  // namespace sys
