#pragma once

#include <string>

namespace plant {

// A number with as many digits as it takes to tell it from any other.
std::string Exact(double number);

// What differs and how, as in "sum was 26.75, the database has 43.25".
std::string Difference(const std::string& what, const std::string& written, const std::string& stored);

}  // namespace plant
