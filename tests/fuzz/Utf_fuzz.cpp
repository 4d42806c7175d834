// UTF-8 to wide text and back, compared with a decoder that follows the table of the standard.

#include "Fuzz.h"
#include "port/Utf8.h"

namespace {

// Whether the bytes are well-formed UTF-8 (The Unicode Standard, table 3-7); its code points are appended.
bool Decode(std::string_view bytes, std::u32string& points) {
  for (std::size_t at = 0; at < bytes.size();) {
    const auto lead = static_cast<unsigned char>(bytes[at]);
    const std::size_t length = lead < 0x80   ? 1
                               : lead < 0xC2 ? 0
                               : lead < 0xE0 ? 2
                               : lead < 0xF0 ? 3
                               : lead < 0xF5 ? 4
                                             : 0;
    if (length == 0 || at + length > bytes.size()) return false;
    char32_t point = length == 1 ? lead : lead & (0x7Fu >> length);
    for (std::size_t i = 1; i < length; ++i) {
      const auto next = static_cast<unsigned char>(bytes[at + i]);
      if ((next & 0xC0) != 0x80) return false;
      point = point << 6 | (next & 0x3F);
    }
    constexpr char32_t kLeast[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < kLeast[length] || point > 0x10FFFF || (point >= 0xD800 && point < 0xE000)) return false;
    points += point;
    at += length;
  }
  return true;
}

// The code points of wide text, of UTF-32 or UTF-16; nothing malformed in it.
std::u32string Points(const std::wstring& wide) {
  std::u32string points;
  for (std::size_t i = 0; i < wide.size(); ++i) {
    auto point = static_cast<char32_t>(wide[i]);
    if (sizeof(wchar_t) == 2 && point >= 0xD800 && point < 0xDC00 && i + 1 < wide.size()) {
      point = 0x10000 + ((point - 0xD800) << 10) + (static_cast<char32_t>(wide[++i]) - 0xDC00);
    }
    REQUIRE(point <= 0x10FFFF && (point < 0xD800 || point >= 0xE000));
    points += point;
  }
  return points;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  std::u32string expected, again;
  const bool wellFormed = Decode(bytes, expected);
  const std::wstring wide = sys::FromUtf8(bytes);
  const std::string back = sys::ToUtf8(wide);
  if (wellFormed) {
    REQUIRE(Points(wide) == expected);
    REQUIRE(back == bytes);
  } else {
    REQUIRE(Points(wide).find(0xFFFD) != std::u32string::npos);
  }
  REQUIRE(Decode(back, again) && again == Points(wide));

  // Any wide text becomes well-formed, and its well-formed parts stay unchanged.
  std::wstring any(size / sizeof(wchar_t), L'\0');
  if (!any.empty()) std::memcpy(any.data(), data, any.size() * sizeof(wchar_t));
  std::u32string points;
  REQUIRE(Decode(sys::ToUtf8(any), points));
  if (sizeof(wchar_t) == 4) {
    REQUIRE(points.size() == any.size());
    for (std::size_t i = 0; i < any.size(); ++i) {
      const auto point = static_cast<char32_t>(any[i]);
      const bool scalar = point <= 0x10FFFF && (point < 0xD800 || point >= 0xE000);
      REQUIRE(points[i] == (scalar ? point : 0xFFFD));
    }
  }
  std::string appended = "x";
  sys::AppendUtf8(appended, any);
  REQUIRE(appended == "x" + sys::ToUtf8(any));
  return 0;
}
