#pragma once

// Used inside the library. Clients set the debug sink and the handler through DbmsAPI/Diagnostics.h.

#include <cstddef>
#include <optional>
#include <string>

// Writes a whole line, with its line feed, to the debug sink.
void WriteDebugLine(const std::wstring& line);

// Returns a text that fits a buffer of `capacity` characters with its terminator. For a longer one it calls
// the invalid-parameter handler and returns nothing.
std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text);
