#pragma once

#include <string>
#include <string_view>

namespace pq {

// The server's binary format of a numeric. Bytes in another format are a class 2 error.

// The nearest double, as ParseDouble finds it for the text; class 2 error for a number that no double holds.
double NumericToDouble(std::string_view bytes);

std::string NumericText(std::string_view bytes);

}  // namespace pq
