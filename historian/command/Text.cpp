#include "Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr wchar_t kEllipsis = L'…';
constexpr std::size_t kLongestQuote = 60;

// The range of values that FormatValue writes without an exponent.
constexpr double kSmallestFixed = 1e-3;
constexpr double kLargestFixed = 1e6;

bool IsControl(wchar_t c) { return c < 0x20 || (c >= 0x7F && c < 0xA0); }

// Where wchar_t has 16 bits, a surrogate pair is a wide character: one cell for each half.
std::size_t CellsOf(wchar_t c) {
  struct Range {
    std::uint32_t first, last;
  };
  constexpr Range kCombining[] = {{0x300, 0x36F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
  constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0xA4CF},  {0xAC00, 0xD7A3}, {0xF900, 0xFAFF},
                             {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6}, {0x1F300, 0x1F64F},
                             {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
  const auto code = static_cast<std::uint32_t>(c);
  const auto holds = [code](const Range& range) { return range.first <= code && code <= range.last; };
  if (std::any_of(std::begin(kCombining), std::end(kCombining), holds)) return 0;
  return std::any_of(std::begin(kWide), std::end(kWide), holds) ? 2 : 1;
}

std::size_t Width(std::wstring_view text) {
  std::size_t cells = 0;
  for (const wchar_t c : text) cells += CellsOf(c);
  return cells;
}

std::string Cut(std::string_view utf8, std::size_t width) {
  const std::wstring text = sys::FromUtf8(utf8);
  if (Width(text) <= width) return std::string(utf8);
  std::wstring out;
  std::size_t cells = 0;
  for (const wchar_t c : text) {
    cells += CellsOf(c);
    if (cells >= width) break;
    out += c;
  }
  return sys::ToUtf8(out + kEllipsis);
}

std::string Number(double value, std::chars_format format, int decimals) {
  std::array<char, 400> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value, format, decimals).ptr};
}

std::string Fixed(double value, int decimals) { return Number(value, std::chars_format::fixed, decimals); }

std::string TwoDigits(std::int64_t value) {
  return std::string(value < 10 ? 1 : 0, '0').append(std::to_string(value));
}

// Inserts commas between the thousands of the whole part.
std::string GroupThousands(std::string number) {
  const std::size_t first = number.starts_with('-') ? 1 : 0;
  const std::size_t end = std::min(number.find('.'), number.size());
  for (std::size_t at = end; at > first + 3;) number.insert(at -= 3, 1, ',');
  return number;
}

}  // namespace

bool IsUtf8(std::string_view text) { return sys::ToUtf8(sys::FromUtf8(text)) == text; }

std::filesystem::path PathOf(std::string_view utf8) { return std::u8string(utf8.begin(), utf8.end()); }

std::string OneLine(std::string_view text, std::size_t most) {
  std::wstring line;
  bool after_control = false;
  for (const wchar_t c : sys::FromUtf8(text)) {
    const bool control = IsControl(c);
    if (!control || !after_control) line += control ? L' ' : c;
    after_control = control;
  }
  return Cut(sys::ToUtf8(line), most);
}

std::string Quote(std::string_view text) { return '"' + OneLine(text, kLongestQuote) + '"'; }

std::size_t DisplayWidth(std::string_view text) { return Width(sys::FromUtf8(text)); }

std::string AlignLeft(std::string_view text, std::size_t width) {
  std::string out = Cut(text, width);
  return out.append(width - std::min(width, DisplayWidth(out)), ' ');
}

std::string AlignRight(std::string_view text, std::size_t width) {
  const std::string out = Cut(text, width);
  return std::string(width - std::min(width, DisplayWidth(out)), ' ') + out;
}

std::string Repeat(std::size_t count, std::string_view text) {
  std::string line;
  while (count-- != 0) line += text;
  return line;
}

std::string Count(std::uint64_t count, std::string_view noun) {
  return FormatCount(count) + ' ' + std::string(noun) + (count == 1 ? "" : "s");
}

std::string FormatCount(std::uint64_t count) { return GroupThousands(std::to_string(count)); }

std::string FormatValue(double value) {
  const double magnitude = std::abs(value);
  if (value == 0) return "0";
  if (!std::isfinite(value)) return std::isnan(value) ? "NaN" : value < 0 ? "-inf" : "inf";
  if (magnitude < kSmallestFixed || magnitude >= kLargestFixed) {
    return Number(value, std::chars_format::scientific, value < 0 ? 1 : 2);
  }
  const int whole_digits = static_cast<int>(std::floor(std::log10(magnitude))) + 1;
  return GroupThousands(Fixed(value, std::clamp(4 - whole_digits, 0, 4)));
}

std::string ExactValue(double value) {
  std::array<char, 32> text;
  return {text.data(), std::to_chars(text.data(), text.data() + text.size(), value).ptr};
}

std::string FormatDuration(double seconds) {
  if (seconds < 0.0995) return Fixed(1000 * seconds, 0) + " ms";
  if (seconds < 59.95) return Fixed(seconds, seconds < 9.995 ? 2 : 1) + " s";
  const std::int64_t whole = std::llround(seconds);
  if (whole < 3600) return std::to_string(whole / 60) + " min " + TwoDigits(whole % 60) + " s";
  if (whole < 2 * 86400) return std::to_string(whole / 3600) + " h " + TwoDigits(whole / 60 % 60) + " min";
  return FormatCount(static_cast<std::uint64_t>(whole / 86400)) + " days";
}

std::string FormatBytes(std::uint64_t bytes) {
  if (bytes < 1024) return std::to_string(bytes) + " B";
  double size = static_cast<double>(bytes);
  std::size_t unit = 0;
  constexpr std::array kUnits = {"B", "KiB", "MiB", "GiB", "TiB", "PiB"};
  for (; size >= 1023.95 && unit + 1 < kUnits.size(); ++unit) size /= 1024;
  return Fixed(size, 1) + ' ' + kUnits[unit];
}

}  // namespace historian::command
