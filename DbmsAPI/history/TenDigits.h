#pragma once

#include <cstddef>

// So many bytes must be free where WriteTenDigits writes; it may touch all of them.
inline constexpr std::size_t kTenDigitsRoom = 32;

// Writes a double in general notation with ten significant digits, as std::to_chars(value, general, 10) does,
// to the byte, and gives the end. Values between 1e-18 and 9e18 take a small part of the standard library's
// time: that one makes all digits that a double has before it rounds to ten.
char* WriteTenDigits(char* at, double value);
