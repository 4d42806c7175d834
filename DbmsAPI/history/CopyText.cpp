#include "DbmsAPI/history/CopyText.h"

#include <algorithm>
#include <cfloat>
#include <charconv>
#include <cstddef>

#include "port/Utf8.h"

namespace {

constexpr std::size_t kMaxSecondsSize = 16;  // of the latest time in int64 milliseconds
constexpr std::size_t kMaxTimeSize = kMaxSecondsSize + 5;
constexpr std::size_t kMaxNumberSize = 17;  // -1.234567891e-308
constexpr std::size_t kMaxValueSize = 1 + kMaxNumberSize + 1;
constexpr int kSignificantDigits = 10;

// 1700000000.123 and a tab.
char* WriteTime(char* at, std::int64_t timeMs) {
  const auto milliseconds = static_cast<int>(timeMs % 1000);
  at = std::to_chars(at, at + kMaxSecondsSize, timeMs / 1000).ptr;
  *at++ = '.';
  *at++ = static_cast<char>('0' + milliseconds / 100);
  *at++ = static_cast<char>('0' + milliseconds / 10 % 10);
  *at++ = static_cast<char>('0' + milliseconds % 10);
  *at++ = '\t';
  return at;
}

// A tab, the value, a line feed.
char* WriteValue(char* at, double value) {
  *at++ = '\t';
  if (value == DBL_MAX) {
    *at++ = '\\';
    *at++ = 'N';
  } else {
    at = std::to_chars(at, at + kMaxNumberSize, value, std::chars_format::general, kSignificantDigits).ptr;
  }
  *at++ = '\n';
  return at;
}

}  // namespace

std::string EscapeForCopy(const std::wstring& tagName) {
  std::string escaped;
  for (const char c : sys::ToUtf8(tagName)) {
    switch (c) {
      case '\t': escaped += "\\t"; break;
      case '\n': escaped += "\\n"; break;
      case '\r': escaped += "\\r"; break;
      case '\\': escaped += "\\\\"; break;
      default: escaped += c;
    }
  }
  return escaped;
}

// Writes in place: growing the text for each piece of a line takes longer than formatting the piece.
void AppendCopyLine(std::string& text, std::int64_t timeMs, const std::string& escapedName, double value) {
  const std::size_t size = text.size();
  text.resize(size + kMaxTimeSize + escapedName.size() + kMaxValueSize);
  char* at = WriteTime(text.data() + size, timeMs);
  at = std::copy(escapedName.begin(), escapedName.end(), at);
  at = WriteValue(at, value);
  text.resize(static_cast<std::size_t>(at - text.data()));
}
