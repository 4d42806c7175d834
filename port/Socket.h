#pragma once

namespace port {

// Shuts a connected socket down in both directions, without waiting: what is unsent is given up, and later
// reads and writes on it return at once. The descriptor stays open. A negative one is ignored.
void ShutDownSocket(int socket);

}  // namespace port
