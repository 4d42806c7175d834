#include "NumberText.h"

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>
#include <string>
#include <system_error>

#include "Errors.h"
#include "Text.h"
#include "port/Utf8.h"

namespace pq {
namespace {

constexpr double kInt64Bound = 9223372036854775808.0;  // 2^63

SAException NoNumber(std::string_view text) {
  return UsageError(L"\"" + sys::FromUtf8(text) + L"\" is no number");
}

SAException OutOfRange(std::string_view text) {
  return UsageError(L"\"" + sys::FromUtf8(text) + L"\" is out of the range of the type it is read as");
}

// Removes the blanks around a number and a plus sign before it.
std::string_view Bare(std::string_view text) {
  while (text.starts_with(' ') || text.starts_with('\t')) text.remove_prefix(1);
  while (text.ends_with(' ') || text.ends_with('\t')) text.remove_suffix(1);
  const bool plus = text.starts_with('+') && text.size() > 1 && text[1] != '-';
  return plus ? text.substr(1) : text;
}

// The power of ten of a number's first digit that is not 0: 0 for 1.5, -2 for 0.015.
long LeadingPower(std::string_view number) {
  const std::size_t e = std::min(number.find_first_of("eE"), number.size());
  const std::size_t point = std::min(number.find('.'), e);
  const std::size_t first = std::min(number.find_first_of("123456789"), e);
  const long power = static_cast<long>(point) - static_cast<long>(first) - (first < point ? 1 : 0);
  if (e == number.size()) return power;
  int exponent = 0;
  const std::string_view text = Bare(number.substr(e + 1));
  const auto read = std::from_chars(text.data(), text.data() + text.size(), exponent);
  if (read.ec == std::errc::result_out_of_range) exponent = text.starts_with('-') ? INT_MIN : INT_MAX;
  return power + exponent;
}

std::int64_t CutToInteger(double value, std::string_view text) {
  const double whole = std::trunc(value);
  if (!(whole >= -kInt64Bound && whole < kInt64Bound)) throw OutOfRange(text);
  return static_cast<std::int64_t>(whole);
}

// Whether the rest after the whole part is decimals and nothing else.
bool IsDecimals(std::string_view rest) {
  return rest.starts_with('.') && std::all_of(rest.begin() + 1, rest.end(), IsDigit);
}

std::int64_t ParseWhole(std::string_view text) {
  std::int64_t value = 0;
  const std::string_view number = Bare(text);
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  const std::string_view rest = number.substr(static_cast<std::size_t>(end - number.data()));
  if (rest.empty() || IsDecimals(rest)) {
    if (error == std::errc()) return value;
    if (error == std::errc::result_out_of_range) throw OutOfRange(text);
  }
  return CutToInteger(ParseDouble(text), text);
}

}  // namespace

std::int64_t ParseInteger(std::string_view text, std::int64_t least, std::int64_t greatest) {
  const std::int64_t value = ParseWhole(text);
  if (value < least || value > greatest) throw OutOfRange(text);
  return value;
}

double ParseDouble(std::string_view text) {
  double value = 0;
  const std::string_view number = Bare(text);
  const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
  if (number.empty() || end != number.data() + number.size() || error == std::errc::invalid_argument) {
    throw NoNumber(text);
  }
  if (error == std::errc()) return value;
  if (LeadingPower(number) >= 0) throw OutOfRange(text);
  return number.starts_with('-') ? -0.0 : 0.0;
}

bool ParseBool(std::string_view text) {
  if (text == "t" || text == "true") return true;
  if (text == "f" || text == "false") return false;
  return ParseDouble(text) != 0;
}

}  // namespace pq
