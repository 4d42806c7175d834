#pragma once

#include <SQLAPI.h>

#include <string>
#include <string_view>

// Whether the text that names the database in a connection is the database's own name and nothing more: not a
// list of connection keywords, an address (postgresql://...), or empty (the server's client library then
// chooses), and not so long that the server cuts it.
bool IsDatabaseName(std::wstring_view text);

// The name of the connected database, asked of the server.
std::wstring CurrentDatabase(SACommand& command);

// The name of the connected database. The server is asked only when the connection text does not tell.
std::wstring DatabaseName(SACommand& command, const std::wstring& connectionText);
