#pragma once

namespace platform {

// Unique among the processes that run.
int ProcessId();

// Memory that the process occupies.
long ResidentKilobytes();

// Sets an environment variable for the process and for the libraries in it; null removes it.
void SetVariable(const char* name, const char* value);

}  // namespace platform
