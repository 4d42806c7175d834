#include "BinaryNumeric.h"

#include <array>
#include <cstdint>

#include "Errors.h"
#include "NetworkOrder.h"
#include "NumberText.h"
#include "Types.h"

namespace pq {
namespace {

// Values of the sign field; the last three are not numbers.
constexpr std::uint16_t kPositive = 0x0000;
constexpr std::uint16_t kNegative = 0x4000;
constexpr std::uint16_t kNaN = 0xC000;
constexpr std::uint16_t kInfinitySign = 0xD000;
constexpr std::uint16_t kMinusInfinitySign = 0xF000;

constexpr std::size_t kHeaderSize = 8;
constexpr int kDigits = 4;  // decimal digits in one digit of the server
constexpr unsigned kBase = 10'000;

// Limits within which a double holds a number exactly. A product or quotient of two such numbers is rounded
// only once.
constexpr std::uint64_t kExactEnd = std::uint64_t{1} << 53;
constexpr std::uint64_t kMaxBeforeDigit = 1'000'000'000'000'000;  // one more digit still fits 64 bits
constexpr std::array kExactPowers = {1e0,  1e1,  1e2,  1e3,  1e4,  1e5,  1e6,  1e7,  1e8,  1e9,  1e10, 1e11,
                                     1e12, 1e13, 1e14, 1e15, 1e16, 1e17, 1e18, 1e19, 1e20, 1e21, 1e22};

// Digits to the base 10,000. The first one counts 10,000 to the power `weight`.
class Numeric {
 public:
  explicit Numeric(std::string_view bytes) : bytes_(bytes) {
    if (bytes.size() < kHeaderSize || bytes.size() != kHeaderSize + 2 * std::size_t{Field(0)}) {
      throw MalformedValue(kNumeric);
    }
    for (int i = 0; i < count(); ++i) {
      if (Digit(i) >= kBase) throw MalformedValue(kNumeric);
    }
  }

  int count() const { return Field(0); }
  int weight() const { return static_cast<std::int16_t>(Field(1)); }
  std::uint16_t sign() const { return Field(2); }
  int decimals() const { return Field(3) & 0x3FFF; }

  // 0 outside the digits that were sent.
  unsigned Digit(int index) const {
    return index < 0 || index >= count() ? 0 : Field(4 + static_cast<std::size_t>(index));
  }

 private:
  std::uint16_t Field(std::size_t index) const {
    return FromNetwork<std::uint16_t>(bytes_.data() + 2 * index);
  }

  std::string_view bytes_;
};

// The magnitude if it is an exact integer multiplied or divided by an exact power of ten; otherwise negative.
double ExactMagnitude(const Numeric& numeric) {
  std::uint64_t integer = 0;
  for (int i = 0; i < numeric.count(); ++i) {
    if (integer >= kMaxBeforeDigit) return -1;
    integer = integer * kBase + numeric.Digit(i);
  }
  int power = kDigits * (numeric.weight() + 1 - numeric.count());
  for (; power < 0 && integer != 0 && integer % 10 == 0; integer /= 10) ++power;
  if (-power > numeric.decimals()) return -1;  // the text has fewer decimals
  const auto size = static_cast<std::size_t>(power < 0 ? -power : power);
  if (integer >= kExactEnd || size >= kExactPowers.size()) return -1;
  const auto value = static_cast<double>(integer);
  return power < 0 ? value / kExactPowers[size] : value * kExactPowers[size];
}

// Appends the digits of an integer below 10,000, with zeros before it up to the width.
void AppendDigit(std::string& text, unsigned digit, std::size_t width) {
  const std::string decimals = std::to_string(digit);
  if (decimals.size() < width) text.append(width - decimals.size(), '0');
  text += decimals;
}

}  // namespace

std::string NumericText(std::string_view bytes) {
  const Numeric numeric(bytes);
  switch (numeric.sign()) {
    case kNaN: return "NaN";
    case kInfinitySign: return "Infinity";
    case kMinusInfinitySign: return "-Infinity";
    case kPositive:
    case kNegative: break;
    default: throw MalformedValue(kNumeric);
  }
  std::string text = numeric.sign() == kNegative ? "-" : "";
  AppendDigit(text, numeric.weight() < 0 ? 0 : numeric.Digit(0), 1);
  for (int i = 1; i <= numeric.weight(); ++i) AppendDigit(text, numeric.Digit(i), kDigits);
  if (numeric.decimals() == 0) return text;
  text += '.';
  const std::size_t end = text.size() + static_cast<std::size_t>(numeric.decimals());
  for (int i = numeric.weight() + 1; text.size() < end; ++i) AppendDigit(text, numeric.Digit(i), kDigits);
  text.resize(end);
  return text;
}

double NumericToDouble(std::string_view bytes) {
  const Numeric numeric(bytes);
  if (numeric.sign() == kPositive || numeric.sign() == kNegative) {
    const double magnitude = ExactMagnitude(numeric);
    if (magnitude >= 0) return numeric.sign() == kNegative ? -magnitude : magnitude;
  }
  return ParseDouble(NumericText(bytes));
}

}  // namespace pq
