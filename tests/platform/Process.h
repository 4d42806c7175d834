#pragma once

namespace platform {

// Unique among the running processes.
int ProcessId();

// The memory that the process uses.
long ResidentKilobytes();

// Sets an environment variable for the process and for the libraries in it; null removes it.
void SetVariable(const char* name, const char* value);

}  // namespace platform
