#pragma once

// The text that COPY takes for samples of tag history: pure functions, apart from the sending.

#include <string>

#include "../HistoryTypes.h"

// Whether a sample can be stored: it has a time of 1 ms or later, a tag name, and a finite value.
bool IsStorable(const LogSample& sample);

// A tag name in UTF-8 with what COPY reserves escaped: tab, line feed, carriage return, backslash.
std::string CopyName(const std::wstring& tagName);

// Appends one line: seconds with three decimals, tab, name, tab, value with ten significant digits or \N for
// DBL_MAX, line feed. The time must be 1 ms or later.
void AppendCopyLine(std::string& text, std::int64_t timeMs, const std::string& copyName, double value);
