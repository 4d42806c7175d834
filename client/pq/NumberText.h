#pragma once

#include <cstdint>
#include <string_view>

namespace pq {

// Reads numbers and booleans from the server's text. Blanks around them are skipped. A text that is not a
// number, or a number out of range, is a class 2 error.

// The whole part of a number, cut toward zero; the number may have decimals or an exponent.
std::int64_t ParseInteger(std::string_view text, std::int64_t least, std::int64_t greatest);

// Also NaN, Infinity and -Infinity. What is too small for a double reads as 0.
double ParseDouble(std::string_view text);

// t, f, true, false; a number is true unless it is 0.
bool ParseBool(std::string_view text);

}  // namespace pq
