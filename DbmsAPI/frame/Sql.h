#pragma once

// Helpers to make and run statements.

#include <SQLAPI.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

// Converts the whole text, so that the client layer refuses one with a NUL character. A C string would end
// there unnoticed.
SAString ToSAString(const std::wstring& text);

// Binds the whole text.
SACommand& operator<<(SACommand& command, const std::wstring& text);

// Binds a text, or NULL for the empty one.
void BindOrNull(SAParam& parameter, const std::wstring& text);

// Converts A to Z to lower case, as the server does in unquoted names.
std::wstring LowerAscii(std::wstring name);

// Appends the keys of a map as a list of texts: 'a','b').
// Kept: keys are spliced. Without any key the opening parenthesis is overwritten, which the server refuses.
template <class Value>
void AppendKeys(std::wstring& statement, const std::unordered_map<std::wstring, Value>& map) {
  for (const auto& [key, value] : map) statement.append(L"'").append(key).append(L"',");
  statement.back() = L')';
}

// Runs a statement; its rows are still to be fetched.
void Execute(SACommand& command, const std::wstring& statement);

// Runs a query and fetches its first row; false when there is none.
bool FetchFirst(SACommand& command, const std::wstring& query);

// The number in the first column of a query's last row; `otherwise` when there is no row.
std::int64_t FetchNumber(SACommand& command, const std::wstring& query, std::int64_t otherwise);

// Runs a query that returns two texts per row, and appends the second to the texts of the first.
void FetchTextsByKey(SACommand& command, std::unordered_map<std::wstring, std::vector<std::wstring>>& texts);

// How many tables of that name the schema public has.
std::int32_t CountTables(SACommand& command, const wchar_t* table);

// Whether a table of that name in any schema has the column.
bool HasColumn(SACommand& command, const wchar_t* table, const wchar_t* column);
