#pragma once

#include <chrono>

namespace sys {

// Shuts a connected socket down in both directions without waiting. Unsent data is discarded, and later reads
// and writes return at once. The descriptor stays open. A negative one is ignored.
void ShutDownSocket(int socket);

enum class SocketEvent { Readable, Writable };

using SocketDeadline = std::chrono::steady_clock::time_point;  // max(): none

// Waits until a socket is readable or writable, or has failed; returns false when the deadline comes first.
bool WaitForSocket(int socket, SocketEvent event, SocketDeadline deadline);

}  // namespace sys
