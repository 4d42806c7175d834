#pragma once

#include <SQLAPI.h>

#include <string>
#include <string_view>

// Whether the text that names the database in a connection is the database's name and nothing more. It is not
// when it holds connection keywords or an address (postgresql://...), when it is empty (libpq then chooses),
// and when it is longer than the names of the server.
bool IsDatabaseName(std::wstring_view text);

// The name of the connected database, from the server.
std::wstring CurrentDatabase(SACommand& command);

// The name of the connected database. The server is asked only when the connection text is not the name.
std::wstring DatabaseName(SACommand& command, const std::wstring& connectionText);
