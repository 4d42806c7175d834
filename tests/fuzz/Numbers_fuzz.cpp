// Numbers in the server's text: doubles are compared with the C library, integers with arithmetic on digits.

#include <SQLAPI.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <optional>

#include "Fuzz.h"
#include "client/pq/NumberText.h"

namespace {

std::optional<double> Double(std::string_view text) {
  try {
    return pq::ParseDouble(text);
  } catch (const SAException& error) {
    REQUIRE(error.ErrClass() == SA_Library_Error);
    return std::nullopt;
  }
}

std::optional<std::int64_t> Integer(std::string_view text) {
  try {
    return pq::ParseInteger(text, INT64_MIN, INT64_MAX);
  } catch (const SAException& error) {
    REQUIRE(error.ErrClass() == SA_Library_Error);
    return std::nullopt;
  }
}

bool SameBits(double a, double b) {
  return (std::isnan(a) && std::isnan(b)) ||
         std::bit_cast<std::uint64_t>(a) == std::bit_cast<std::uint64_t>(b);
}

// [-]digits[.digits], cut to an integer; nothing for another text or one out of range.
std::optional<std::int64_t> Whole(std::string_view text) {
  const bool negative = text.starts_with('-');
  text.remove_prefix(negative ? 1 : 0);
  __extension__ typedef __int128 Wide;
  Wide value = 0;
  std::size_t at = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    value = value * 10 + (text[at] - '0');
    if (value > Wide{INT64_MAX} + 1) return std::nullopt;
  }
  if (negative) value = -value;
  if (value > INT64_MAX) return std::nullopt;
  return static_cast<std::int64_t>(value);
}

bool IsPlain(std::string_view text) {
  if (text.starts_with('-')) text.remove_prefix(1);
  const std::size_t point = std::min(text.find('.'), text.size());
  const auto digits = [](std::string_view part) {
    return part.find_first_not_of("0123456789") == std::string_view::npos;
  };
  return point > 0 && digits(text.substr(0, point)) &&
         (point == text.size() || digits(text.substr(point + 1)));
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const auto value = input.Take<double>();
  const auto whole = input.Take<std::int64_t>();
  if (std::isfinite(value)) {
    char digits[32];
    const std::string text(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
    REQUIRE(Double(text) && SameBits(*Double(text), value));
  }
  REQUIRE(Integer(std::to_string(whole)) == whole);

  const std::string text(input.Rest());
  if (const auto read = Double(text)) {
    const std::string c = text.c_str();  // the C library stops at a NUL
    REQUIRE(c == text);
    REQUIRE(SameBits(*read, std::strtod(c.c_str(), nullptr)));
  }
  if (const auto read = Integer(text); IsPlain(text)) {
    REQUIRE(read == Whole(text));
  } else if (read) {
    const double same = std::trunc(std::strtod(text.c_str(), nullptr));
    REQUIRE(std::abs(static_cast<double>(*read) - same) <= std::abs(same) * 1e-15);
  }
  return 0;
}
