#pragma once

// What statements and their parameters are made of, and how they are run.

#include <SQLAPI.h>

#include <string>

// The whole text: a NUL character in it is refused by the client layer, where a C string would end unnoticed.
SAString ToSAString(const std::wstring& text);

// Binds a text, or NULL for the empty one.
void BindOrNull(SAParam& parameter, const std::wstring& text);

// Runs a statement, leaving its rows to be fetched.
void Execute(SACommand& command, const std::wstring& statement);

// Runs a query and fetches its first row; false when there is none.
bool FetchFirst(SACommand& command, const std::wstring& query);
