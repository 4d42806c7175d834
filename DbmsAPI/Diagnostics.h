#pragma once

#include <functional>

#include "Export.h"

// Where the library's debug lines go, process-wide. By default that is the debugger's output on Windows and
// stderr elsewhere. An empty function restores the default. The sink may be called on any thread that uses
// the library; it must not throw.
DBMSAPI_EXPORT void SetDbmsDebugSink(std::function<void(const wchar_t* line)> sink);

// Called when a statement does not fit its fixed buffer because a name is too long; the operation then sends
// nothing more and answers false, with GetLastError as it was. By default a debug line is written. An empty
// function restores the default. It must not throw.
DBMSAPI_EXPORT void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t* reason)> handler);
