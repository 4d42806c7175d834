#include "Numbers.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "CsvReader.h"

namespace historian::command {
namespace {

constexpr std::array<std::string_view, 11> kNullWords = {"na",  "n/a", "#n/a", "null", "nan",    "none",
                                                         "bad", "-",   "--",   "---",  "no data"};
constexpr std::size_t kLongestNumber = 64;

bool EqualWords(std::string_view a, std::string_view b) {
  const auto lower = [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; };
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [&](char x, char y) { return lower(x) == lower(y); });
}

// Whether the text is a number with that decimal sign; its value is NaN where it is beyond a double.
bool Parse(std::string_view text, char decimal, double& value) {
  if (text.starts_with('+')) text.remove_prefix(1);
  if (text.empty() || text.size() > kLongestNumber) return false;
  const char first = text[0] == '-' && text.size() > 1 ? text[1] : text[0];
  if ((first < '0' || first > '9') && first != decimal) return false;
  std::array<char, kLongestNumber> digits;
  const auto end = std::transform(text.begin(), text.end(), digits.begin(), [&](char c) {
    return c == decimal ? '.' : c == '.' ? ',' : c;
  });
  const auto [stop, error] = std::from_chars(digits.data(), &*digits.begin() + (end - digits.begin()), value);
  if (stop != digits.data() + text.size()) return false;
  if (error != std::errc()) value = NAN;
  return true;
}

}  // namespace

bool IsNumber(std::string_view cell, char decimal) {
  double value = 0;
  return Parse(Trim(cell), decimal, value);
}

bool HasThousands(std::string_view cell) {
  cell = Trim(cell);
  if (cell.starts_with('-') || cell.starts_with('+')) cell.remove_prefix(1);
  const auto digits = [&] { return std::min(cell.find_first_not_of("0123456789"), cell.size()); };
  const std::size_t first = digits();
  if (first == 0 || first > 3 || first == cell.size()) return false;
  const char separator = cell[first];
  if (std::string_view(",. '").find(separator) == std::string_view::npos) return false;
  cell.remove_prefix(first);
  while (cell.starts_with(separator)) {
    cell.remove_prefix(1);
    if (digits() != 3) return false;
    cell.remove_prefix(3);
  }
  if (cell.starts_with('.') || cell.starts_with(',')) cell.remove_prefix(1);
  return digits() == cell.size();
}

NumberReader::NumberReader(char decimal, std::vector<std::string> null_words)
    : decimal_(decimal), null_words_(std::move(null_words)) {}

bool NumberReader::IsNull(std::string_view cell) const {
  const auto equals = [&](std::string_view word) { return EqualWords(cell, word); };
  return std::any_of(kNullWords.begin(), kNullWords.end(), equals) ||
         std::any_of(null_words_.begin(), null_words_.end(), equals);
}

NumberReader::Kind NumberReader::Read(std::string_view cell, double& value, std::string& problem) const {
  cell = Trim(cell);
  if (cell.empty()) return Kind::Empty;
  if (!null_words_.empty() && IsNull(cell)) return Kind::Null;  // a null word may be a number, such as -9999
  if (Parse(cell, decimal_, value)) {
    if (!std::isnan(value)) return Kind::Number;
    problem = "is outside the range of a double";
    return Kind::Wrong;
  }
  if (IsNull(cell)) return Kind::Null;
  const char other = decimal_ == '.' ? ',' : '.';
  problem =
      IsNumber(cell, other)
          ? std::string("is a number with a decimal ") +
                (other == ',' ? "comma (--decimal comma)" : "point (--decimal point)")
          : "is not a number (--null WORD for a word that means none, --ignore COLUMN for a column of texts)";
  return Kind::Wrong;
}

}  // namespace historian::command
