#include "historian/Sql.h"

#include <stdexcept>

namespace historian {

std::string ArrayLiteral(std::span<const std::string> texts) {
  std::string array = "{";
  for (const std::string& text : texts) {
    if (array.size() > 1) array += ',';
    array += '"';
    for (const char character : text) {
      // A NUL would end the parameter.
      if (character == '\0') throw std::invalid_argument("a tag name holds a NUL character");
      if (character == '"' || character == '\\') array += '\\';
      array += character;
    }
    array += '"';
  }
  return array + '}';
}

std::string ArrayLiteral(std::span<const std::int64_t> numbers) {
  std::string array = "{";
  for (const std::int64_t number : numbers) {
    if (array.size() > 1) array += ',';
    array += std::to_string(number);
  }
  return array + '}';
}

}  // namespace historian
