#pragma once

#include <functional>

namespace sys {

// Receives whole debug lines, NUL-terminated, line feed included.
using DebugSink = std::function<void(const wchar_t* line)>;

// Hands a line to the sink.
void WriteDebugLine(const wchar_t* line);

// Replaces the sink of the process; an empty one restores the platform's own. Thread-safe.
void SetDebugSink(DebugSink sink);

// The platform's own sink: the debugger's output on Windows, stderr (in UTF-8) elsewhere.
void WriteToPlatformDebugOutput(const wchar_t* line);

}  // namespace sys
