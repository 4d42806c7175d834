#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace sys {

// Told when a text does not fit its fixed buffer.
using InvalidParameterHandler = std::function<void(const wchar_t* reason)>;

// Replaces the handler of the process; an empty one restores the default, which writes a debug line.
// Thread-safe.
void SetInvalidParameterHandler(InvalidParameterHandler handler);

// Calls the handler.
void ReportInvalidParameter(const wchar_t* reason);

// Gives the text back when it fits a buffer of `capacity` characters with its terminator; otherwise reports
// an invalid parameter and gives nothing.
std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text);

}  // namespace sys
