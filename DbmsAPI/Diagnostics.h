#pragma once

#include <functional>
#include <string>

#include "Export.h"

class Dbms;

// Where the library's debug lines go, process-wide. By default that is the debugger's output on Windows and
// stderr elsewhere. An empty function restores the default. The sink may be called on any thread that uses
// the library; it must not throw.
DBMSAPI_EXPORT void SetDbmsDebugSink(std::function<void(const wchar_t* line)> sink);

// Called when a statement does not fit its fixed buffer because a name is too long; the operation then sends
// nothing more and answers false, with GetLastError as it was. By default a debug line is written. An empty
// function restores the default. It must not throw.
DBMSAPI_EXPORT void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t* reason)> handler);

// The SQLSTATE of the failure whose text GetLastError gives: five characters ("23505"), from the server.
// Empty when there was no failure yet, or when it was not reported by the server: a refused connection, a
// link lost without a message, a usage error. Always empty when the library is built with the vendor's client
// library.
DBMSAPI_EXPORT std::string LastSqlState(const Dbms& dbms);
