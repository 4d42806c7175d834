#pragma once

#include <chrono>

namespace sys {

// Shuts a connected socket down in both directions without waiting. Unsent data is discarded, and later reads
// and writes return at once. The descriptor stays open. A negative one is ignored.
void ShutDownSocket(int socket);

enum class SocketEvent { Readable, Writable, Either };

using SocketDeadline = std::chrono::steady_clock::time_point;  // max(): none

// Waits until the event, or until the socket has failed; returns false when the deadline comes first.
bool WaitForSocket(int socket, SocketEvent event, SocketDeadline deadline);

}  // namespace sys
