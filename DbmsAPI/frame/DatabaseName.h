#pragma once

#include <SQLAPI.h>

#include <string>
#include <string_view>

// Whether the text that names the database in a connection is the database's name and nothing more. False for
// a text with connection keywords, for an address (postgresql://...), for an empty text (libpq then chooses),
// and for a text longer than the server's names.
bool IsDatabaseName(std::wstring_view text);

// The name of the connected database, from the server.
std::wstring CurrentDatabase(SACommand& command);

// The name of the connected database. Asks the server only when the connection text is not the name.
std::wstring DatabaseName(SACommand& command, const std::wstring& connectionText);
