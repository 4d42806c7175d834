#pragma once

#include <cstdint>
#include <span>
#include <string>

namespace historian {

// A text[] literal, for a parameter.
std::string ArrayLiteral(std::span<const std::string> texts);
std::string ArrayLiteral(std::span<const std::int64_t> numbers);

}  // namespace historian
