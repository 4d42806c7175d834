#include "port/Utf8.h"

#include <gtest/gtest.h>

#include <cstdint>

TEST(Utf8, CarriesEveryPlane) {
  const std::wstring wide = L"A\u00e9\u20ac\U0001F600\U0010FFFF";
  const std::string bytes = "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF4\x8F\xBF\xBF";
  EXPECT_EQ(sys::ToUtf8(wide), bytes);
  EXPECT_EQ(sys::FromUtf8(bytes), wide);
}

TEST(Utf8, EmptyStaysEmpty) {
  EXPECT_EQ(sys::ToUtf8(L""), "");
  EXPECT_EQ(sys::FromUtf8(""), L"");
}

TEST(Utf8, KeepsNulCharacters) {
  EXPECT_EQ(sys::ToUtf8(std::wstring(L"a\0b", 3)), std::string("a\0b", 3));
  EXPECT_EQ(sys::FromUtf8(std::string("a\0b", 3)), std::wstring(L"a\0b", 3));
}

TEST(Utf8, MalformedWideTextBecomesTheReplacementCharacter) {
  EXPECT_EQ(sys::ToUtf8(std::wstring(1, static_cast<wchar_t>(0xD800))), "\xEF\xBF\xBD");
  EXPECT_EQ(sys::ToUtf8(std::wstring(1, static_cast<wchar_t>(0xDFFF))), "\xEF\xBF\xBD");
}

TEST(Utf8, MalformedBytesBecomeReplacementCharacters) {
  EXPECT_EQ(sys::FromUtf8("a\xFFz"), L"a\xFFFDz");
  EXPECT_EQ(sys::FromUtf8("\x80"), L"\xFFFD");
  EXPECT_EQ(sys::FromUtf8("\xC3").back(), L'\xFFFD');           // cut short
  EXPECT_EQ(sys::FromUtf8("\xC0\xAF").front(), L'\xFFFD');      // overlong
  EXPECT_EQ(sys::FromUtf8("\xED\xA0\x80").front(), L'\xFFFD');  // a surrogate
}

TEST(Utf8, ANonAsciiCharacterIsFoundAtEveryPlace) {
  for (std::size_t length = 1; length <= 20; ++length) {
    for (std::size_t at = 0; at < length; ++at) {
      std::wstring wide(length, L'a');
      wide[at] = L'\u00e9';
      std::string bytes(length, 'a');
      bytes.replace(at, 1, "\xC3\xA9");
      EXPECT_EQ(sys::ToUtf8(wide), bytes);
      EXPECT_EQ(sys::FromUtf8(bytes), wide);
    }
  }
}

TEST(Utf8, EveryCodePointIsCarried) {
  for (std::uint32_t point = 1; point <= 0x10FFFF; point += point < 0x3000 ? 1 : 61) {
    if (point >= 0xD800 && point <= 0xDFFF) continue;
    std::wstring wide;
    if (sizeof(wchar_t) == 2 && point > 0xFFFF) {
      wide = {static_cast<wchar_t>(0xD7C0 + (point >> 10)), static_cast<wchar_t>(0xDC00 + (point & 0x3FF))};
    } else {
      wide = {static_cast<wchar_t>(point)};
    }
    ASSERT_EQ(sys::FromUtf8(sys::ToUtf8(wide)), wide) << point;
  }
}

TEST(Utf8, TextsAreAppended) {
  std::string bytes = "before ";
  sys::AppendUtf8(bytes, L"plain");
  sys::AppendUtf8(bytes, L"");
  sys::AppendUtf8(bytes, L" \u20ac");
  EXPECT_EQ(bytes, "before plain \xE2\x82\xAC");
}
