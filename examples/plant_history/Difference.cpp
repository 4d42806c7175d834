#include "Difference.h"

#include <array>
#include <charconv>

namespace plant {

std::string Exact(double number) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), number).ptr};
}

std::string Difference(const std::string& what, const std::string& written, const std::string& stored) {
  return what + " was " + written + ", the database has " + stored;
}

}  // namespace plant
