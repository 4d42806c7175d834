#include "port/Utf8.h"

#include <utf8.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>

namespace sys {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsScalarValue(std::uint32_t point) { return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF); }

// Whether a text, of either kind, is ASCII: eight bytes at a time. Most texts are, and need no coding then.
template <class Text>
bool IsAscii(Text text, std::uint64_t notAscii) {
  constexpr std::size_t kAtOnce = sizeof notAscii / sizeof text[0];
  std::uint64_t seen = 0, some = 0;
  for (; text.size() >= kAtOnce; text.remove_prefix(kAtOnce)) {
    std::memcpy(&some, text.data(), sizeof some);
    seen |= some;
  }
  some = 0;
  if (!text.empty()) std::memcpy(&some, text.data(), text.size() * sizeof text[0]);
  return ((seen | some) & notAscii) == 0;
}

bool IsAscii(std::string_view text) { return IsAscii(text, 0x8080808080808080); }
bool IsAscii(std::wstring_view text) { return IsAscii(text, 0xFFFFFF80FFFFFF80); }

std::wstring Decode(std::string_view wellFormed) {
  std::wstring wide;
  wide.reserve(wellFormed.size());
  for (auto at = wellFormed.begin(); at != wellFormed.end();) {
    wide.push_back(static_cast<wchar_t>(utf8::unchecked::next(at)));
  }
  return wide;
}

}  // namespace

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32 here");

void AppendUtf8(std::string& bytes, std::wstring_view text) {
  if (IsAscii(text)) {
    const std::size_t before = bytes.size();
    bytes.resize(before + text.size());
    std::transform(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(before),
                   [](wchar_t c) { return static_cast<char>(c); });
    return;
  }
  for (const wchar_t c : text) {
    const auto point = static_cast<std::uint32_t>(c);
    utf8::unchecked::append(IsScalarValue(point) ? point : kReplacement, std::back_inserter(bytes));
  }
}

std::string ToUtf8(std::wstring_view text) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  std::string bytes;
  AppendUtf8(bytes, text);
  return bytes;
}

std::wstring FromUtf8(std::string_view text) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  if (utf8::is_valid(text.begin(), text.end())) return Decode(text);
  std::string mended;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(mended), kReplacement);
  return Decode(mended);
}

}  // namespace sys
