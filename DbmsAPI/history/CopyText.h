#pragma once

// The text that COPY takes for samples of tag history.

#include <cmath>
#include <cstdint>
#include <string>

#include "DbmsAPI/HistoryTypes.h"

// Whether a sample can be stored: it has a time of 1 ms or later, a tag name, and a finite value.
inline bool IsStorable(const LogSample& sample) {
  return sample.timeMs >= 1 && !sample.tagName.empty() && std::isfinite(sample.value);
}

// A tag name in UTF-8 with what COPY reserves escaped: tab, line feed, carriage return, backslash.
std::string EscapeForCopy(const std::wstring& tagName);

// Appends the line of a sample: seconds with three decimals, tab, name, tab, value with ten significant
// digits or \N for DBL_MAX, line feed. The time must be 1 ms or later.
void AppendCopyLine(std::string& text, std::int64_t timeMs, const std::string& escapedName, double value);
