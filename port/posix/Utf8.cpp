#include "port/Utf8.h"

#include <utf8.h>

#include <cstdint>
#include <cstring>
#include <iterator>

namespace port {
namespace {

constexpr std::uint32_t kReplacement = 0xFFFD;

bool IsScalarValue(std::uint32_t point) { return point < 0xD800 || (point > 0xDFFF && point <= 0x10FFFF); }

// Eight characters at a time: most texts are ASCII, and need no decoding then.
bool IsAscii(std::string_view text) {
  std::uint64_t seen = 0, eight = 0;
  for (; text.size() >= sizeof eight; text.remove_prefix(sizeof eight)) {
    std::memcpy(&eight, text.data(), sizeof eight);
    seen |= eight;
  }
  for (const char c : text) seen |= static_cast<unsigned char>(c);
  return (seen & 0x8080808080808080) == 0;
}

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

std::string ToUtf8(std::wstring_view text) {
  std::string bytes;
  bytes.reserve(text.size());
  for (const wchar_t c : text) {
    const auto point = static_cast<std::uint32_t>(c);
    if (point < 0x80) {
      bytes.push_back(static_cast<char>(point));
    } else {
      utf8::unchecked::append(IsScalarValue(point) ? point : kReplacement, std::back_inserter(bytes));
    }
  }
  return bytes;
}

std::wstring FromUtf8(std::string_view text) {
  if (IsAscii(text)) return {text.begin(), text.end()};
  if (utf8::is_valid(text.begin(), text.end())) return Decode(text);
  std::string mended;
  utf8::replace_invalid(text.begin(), text.end(), std::back_inserter(mended), kReplacement);
  return Decode(mended);
}

}  // namespace port
