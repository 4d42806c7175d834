#include "port/Utf8.h"

#include <utf8.h>

#include <algorithm>
#include <cstdint>
#include <iterator>

namespace sys {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsScalarValue(std::uint32_t point) { return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF); }

// Whether a text of either kind is ASCII. Most texts are, and then need no decoding. Without a branch in the
// loop, so that compilers test many characters at once.
template <class Text>
bool IsAscii(Text text) {
  std::uint32_t seen = 0;
  for (const auto c : text) seen |= static_cast<std::uint32_t>(c);
  return seen < 0x80;
}

std::wstring Decode(std::string_view wellFormed) {
  std::wstring wide;
  wide.reserve(wellFormed.size());
  utf8::unchecked::utf8to32(wellFormed.begin(), wellFormed.end(), std::back_inserter(wide));
  return wide;
}

}  // namespace

static_assert(sizeof(wchar_t) == 4, "wide text is UTF-32 here");

void AppendUtf8(std::string& bytes, std::wstring_view text) {
  if (IsAscii(text)) {
    const std::size_t before = bytes.size();
    bytes.resize(before + text.size());
    std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(before));
    return;
  }
  for (const wchar_t c : text) {
    const auto point = static_cast<std::uint32_t>(c);
    utf8::unchecked::append(IsScalarValue(point) ? point : kReplacement, std::back_inserter(bytes));
  }
}

std::wstring FromUtf8(std::string_view text) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  if (utf8::is_valid(text.begin(), text.end())) return Decode(text);
  std::string mended;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(mended), kReplacement);
  return Decode(mended);
}

}  // namespace sys
