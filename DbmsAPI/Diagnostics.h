#pragma once

#include <functional>
#include <string>

#include "Export.h"

class Dbms;

// Sets where the debug lines of the whole process go. The default, restored by an empty function, is the
// debugger's output on Windows and stderr elsewhere. The sink is called on any thread that uses the library.
// It must not throw.
DBMSAPI_EXPORT void SetDbmsDebugSink(std::function<void(const wchar_t* line)> sink);

// Sets what is called when a statement does not fit its fixed buffer, because a name is too long. The
// operation then sends nothing more and returns false; GetLastError stays as it was. The default, restored by
// an empty function, writes a debug line. The handler must not throw.
DBMSAPI_EXPORT void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t* reason)> handler);

// The SQLSTATE of the failure whose text GetLastError gives: five characters ("23505"), from the server.
// Empty when there was no failure yet, or when it was not reported by the server: a refused connection, a
// link lost without a message, a usage error. Always empty when the library is built with the vendor's client
// library.
DBMSAPI_EXPORT std::string LastSqlState(const Dbms& dbms);
