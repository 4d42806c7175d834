#pragma once

#include <cstdint>
#include <string>

// Milliseconds since the epoch as the seconds that a parameter takes.
double EpochSeconds(std::int64_t milliseconds);

// The same in a statement's text: 1700000000123 is 1700000000.123 and 1700000000000 is 1.7e+09.
std::wstring EpochSecondsText(std::int64_t milliseconds);
