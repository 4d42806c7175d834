#pragma once

namespace sys {

// Writes a NUL-terminated line to the debugger's output on Windows, to stderr (in UTF-8) elsewhere.
void WriteDebugOutput(const wchar_t* line);

}  // namespace sys
