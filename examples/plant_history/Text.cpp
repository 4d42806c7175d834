#include "Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

namespace plant {
namespace {

constexpr char32_t kReplacement = 0xFFFD;
constexpr std::string_view kEllipsis = "…";

// What FormatValue writes without an exponent.
constexpr double kSmallestFixed = 1e-3;
constexpr double kLargestFixed = 1e6;

struct Character {
  char32_t code;
  std::size_t bytes;
  bool valid;
};

bool IsScalarValue(char32_t code) { return code < 0xD800 || (code > 0xDFFF && code <= 0x10FFFF); }

// The first character of a text that is not empty.
Character Decode(std::string_view utf8) {
  constexpr std::array<char32_t, 5> kSmallest = {0, 0, 0x80, 0x800, 0x10000};
  const auto first = static_cast<unsigned char>(utf8[0]);
  if (first < 0x80) return {first, 1, true};
  const std::size_t bytes = first >= 0xF0 ? 4 : first >= 0xE0 ? 3 : first >= 0xC0 ? 2 : 1;
  if (bytes == 1 || bytes > utf8.size()) return {kReplacement, 1, false};
  char32_t code = first & (0x7Fu >> bytes);
  for (std::size_t i = 1; i < bytes; ++i) {
    const auto next = static_cast<unsigned char>(utf8[i]);
    if ((next & 0xC0) != 0x80) return {kReplacement, 1, false};
    code = (code << 6) | (next & 0x3F);
  }
  const bool valid = first < 0xF8 && code >= kSmallest[bytes] && IsScalarValue(code);
  return valid ? Character{code, bytes, true} : Character{kReplacement, 1, false};
}

void Encode(char32_t code, std::string& out) {
  if (code < 0x80) {
    out += static_cast<char>(code);
    return;
  }
  const int tail = code < 0x800 ? 1 : code < 0x10000 ? 2 : 3;
  constexpr std::array<unsigned, 4> kLead = {0, 0xC0, 0xE0, 0xF0};
  out += static_cast<char>(kLead[static_cast<std::size_t>(tail)] | (code >> (6 * tail)));
  for (int shift = 6 * (tail - 1); shift >= 0; shift -= 6) {
    out += static_cast<char>(0x80 | ((code >> shift) & 0x3F));
  }
}

template <class Visit>
void ForEachCharacter(std::string_view utf8, Visit visit) {
  while (!utf8.empty()) {
    const Character character = Decode(utf8);
    visit(character, utf8.substr(0, character.bytes));
    utf8.remove_prefix(character.bytes);
  }
}

bool IsControl(char32_t code) { return code < 0x20 || (code >= 0x7F && code < 0xA0); }

std::size_t CellsOf(char32_t code) {
  struct Range {
    char32_t first, last;
  };
  constexpr Range kCombining[] = {{0x300, 0x36F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
  constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                             {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
                             {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
  const auto holds = [code](const Range& range) { return range.first <= code && code <= range.last; };
  if (std::any_of(std::begin(kCombining), std::end(kCombining), holds)) return 0;
  return std::any_of(std::begin(kWide), std::end(kWide), holds) ? 2 : 1;
}

std::string Cut(std::string_view utf8, std::size_t width) {
  if (DisplayWidth(utf8) <= width) return std::string(utf8);
  std::string out;
  std::size_t cells = 0;
  ForEachCharacter(utf8, [&](const Character& character, std::string_view bytes) {
    cells += CellsOf(character.code);
    if (cells < width) out += bytes;
  });
  return out.append(kEllipsis);
}

std::string Fixed(double value, int decimals) {
  std::array<char, 400> text;
  return {
      text.data(),
      std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, decimals).ptr};
}

std::string Scientific(double value, int decimals) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value,
                                     std::chars_format::scientific, decimals)
                           .ptr};
}

std::string TwoDigits(std::int64_t value) { return (value < 10 ? "0" : "") + std::to_string(value); }

// Sets commas between the thousands of the whole part.
std::string GroupThousands(std::string number) {
  const std::size_t first = number.starts_with('-') ? 1 : 0;
  const std::size_t end = std::min(number.find('.'), number.size());
  for (std::size_t at = end; at > first + 3;) number.insert(at -= 3, 1, ',');
  return number;
}

}  // namespace

std::string Narrow(std::wstring_view text) {
  std::string out;
  for (std::size_t at = 0; at < text.size(); ++at) {
    auto code = static_cast<char32_t>(text[at]);
    // Where wide characters have 16 bits, two of them may make one.
    if (code >= 0xD800 && code < 0xDC00 && at + 1 < text.size() && text[at + 1] >= 0xDC00 &&
        text[at + 1] < 0xE000) {
      code = 0x10000 + ((code - 0xD800) << 10) + (static_cast<char32_t>(text[++at]) - 0xDC00);
    }
    Encode(IsScalarValue(code) ? code : kReplacement, out);
  }
  return out;
}

std::wstring Widen(std::string_view utf8) {
  std::wstring out;
  ForEachCharacter(utf8, [&](const Character& character, std::string_view) {
    if (sizeof(wchar_t) == 4 || character.code < 0x10000) {
      out += static_cast<wchar_t>(character.code);
    } else {
      out += static_cast<wchar_t>(0xD800 + ((character.code - 0x10000) >> 10));
      out += static_cast<wchar_t>(0xDC00 + (character.code & 0x3FF));
    }
  });
  return out;
}

std::filesystem::path PathOf(std::string_view utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string NameOf(const std::filesystem::path& path) {
  const std::u8string name = path.filename().u8string();
  return {name.begin(), name.end()};
}

bool IsUtf8(std::string_view text) {
  bool valid = true;
  ForEachCharacter(text, [&](const Character& character, std::string_view) { valid &= character.valid; });
  return valid;
}

bool HasControlCharacter(std::string_view utf8) {
  bool found = false;
  ForEachCharacter(utf8,
                   [&](const Character& character, std::string_view) { found |= IsControl(character.code); });
  return found;
}

std::string OneLine(std::string_view text, std::size_t most) {
  std::string line;
  bool behind_control = false;
  ForEachCharacter(text, [&](const Character& character, std::string_view) {
    const bool control = IsControl(character.code);
    if (!control || !behind_control) Encode(control ? U' ' : character.code, line);
    behind_control = control;
  });
  return Cut(line, most);
}

std::size_t DisplayWidth(std::string_view utf8) {
  std::size_t cells = 0;
  ForEachCharacter(utf8,
                   [&](const Character& character, std::string_view) { cells += CellsOf(character.code); });
  return cells;
}

std::string AlignLeft(std::string_view utf8, std::size_t width) {
  std::string out = Cut(utf8, width);
  return out.append(width - std::min(width, DisplayWidth(out)), ' ');
}

std::string AlignRight(std::string_view utf8, std::size_t width) {
  const std::string out = Cut(utf8, width);
  return std::string(width - std::min(width, DisplayWidth(out)), ' ') + out;
}

std::string FormatCount(std::uint64_t count) { return GroupThousands(std::to_string(count)); }

std::string FormatValue(double value) {
  const double magnitude = std::abs(value);
  if (value == 0) return "0";
  if (magnitude < kSmallestFixed || magnitude >= kLargestFixed) return Scientific(value, value < 0 ? 1 : 2);
  const int whole_digits = static_cast<int>(std::floor(std::log10(magnitude))) + 1;
  return GroupThousands(Fixed(value, std::clamp(4 - whole_digits, 0, 4)));
}

std::string FormatDuration(double seconds) {
  if (seconds < 0.0995) return Fixed(1000 * seconds, 0) + " ms";
  if (seconds < 59.95) return Fixed(seconds, seconds < 9.995 ? 2 : 1) + " s";
  const std::int64_t whole = std::llround(seconds);
  if (whole < 3600) return std::to_string(whole / 60) + " min " + TwoDigits(whole % 60) + " s";
  return std::to_string(whole / 3600) + " h " + TwoDigits(whole / 60 % 60) + " min";
}

std::string FormatThroughput(std::uint64_t rows, std::uint64_t samples, double seconds) {
  const double rate = seconds > 0 ? static_cast<double>(samples) / seconds : 0;
  return FormatCount(rows) + " rows, " + FormatCount(samples) + " samples in " + FormatDuration(seconds) +
         " (" + FormatCount(static_cast<std::uint64_t>(rate)) + " samples/s)";
}

}  // namespace plant
