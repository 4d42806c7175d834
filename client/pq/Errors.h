#pragma once

#include <string>
#include <string_view>

#include "SQLAPI.h"

namespace pq {

// A text without the line feeds at its end.
std::string_view WithoutLineFeeds(std::string_view text);

// Wrong use of this layer, or a value that is not of the requested type: class 2.
SAException UsageError(std::wstring text);

// The server sent bytes that are not a value of their type in its binary format: class 2.
SAException MalformedValue(unsigned type);

// No connection could be made: class 3, native code 1. `text` is libpq's; `refused` is the system's message
// for a refused connection in the language of the process. Clients look for the number 10061, which libpq
// writes on Windows only, so it is added after every refusal.
SAException ConnectFailure(std::string_view text, std::string_view refused);

// A statement failed: class 3. `status` is libpq's status of the result (7 also when the connection was lost
// during the statement).
SAException StatementFailure(int status, std::string_view text, std::string sqlState = {});

}  // namespace pq
