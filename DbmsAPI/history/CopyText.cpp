#include "DbmsAPI/history/CopyText.h"

#include <array>
#include <cfloat>
#include <charconv>
#include <cstring>

#include "DbmsAPI/history/DecimalDigits.h"
#include "DbmsAPI/history/TenDigits.h"
#include "port/Utf8.h"

namespace {

constexpr std::size_t kBlockBytes = 16 * 1024;
constexpr std::size_t kNumbersRoom =
    CopyLines::kSecondsRoom + 5 + kTenDigitsRoom + 1;  // a line without its name

constexpr std::int64_t kTenDigitSeconds = 1000000000;      // from here on seconds have ten digits,
constexpr std::int64_t kElevenDigitSeconds = 10000000000;  // and from here on more

char* WriteSeconds(char* at, std::int64_t seconds) {
  if (kDigitsFitRegister && seconds >= kTenDigitSeconds && seconds < kElevenDigitSeconds) {
    WriteTenCharacters(at, static_cast<std::uint64_t>(seconds));
    return at + 10;
  }
  return std::to_chars(at, at + CopyLines::kSecondsRoom, seconds).ptr;
}

// The milliseconds of a second and a tab, by number.
constexpr auto kMilliseconds = [] {
  std::array<std::array<char, 4>, 1000> texts{};
  for (std::size_t i = 0; i < texts.size(); ++i) {
    texts[i] = {static_cast<char>('0' + i / 100), static_cast<char>('0' + i / 10 % 10),
                static_cast<char>('0' + i % 10), '\t'};
  }
  return texts;
}();

char* WriteValue(char* at, double value) {
  if (value == DBL_MAX) {
    std::memcpy(at, "\\N", 2);
    return at + 2;
  }
  return WriteTenDigits(at, value);
}

}  // namespace

std::string CopyName(const std::wstring& tagName) {
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

CopyLines::CopyLines(std::string& text)
    : text_(text), block_(new char[kBlockBytes]), used_(block_.get()), end_(used_ + kBlockBytes) {}

void CopyLines::Append(std::int64_t timeMs, const std::string& copyName, double value) {
  const std::size_t room = kNumbersRoom + copyName.size();
  if (room > static_cast<std::size_t>(end_ - used_)) MakeRoom(room);
  char* at = WriteTime(used_, timeMs);
  std::memcpy(at, copyName.data(), copyName.size());
  at += copyName.size();
  *at++ = '\t';
  at = WriteValue(at, value);
  *at++ = '\n';
  used_ = at;
}

// 1700000000.123 and a tab. The samples of a cycle mostly share their second.
char* CopyLines::WriteTime(char* at, std::int64_t timeMs) {
  const std::int64_t seconds = timeMs / 1000;
  if (seconds != seconds_) {
    seconds_ = seconds;
    char* const end = WriteSeconds(secondsText_, seconds);
    *end = '.';
    secondsLength_ = end + 1 - secondsText_;
  }
  std::memcpy(at, secondsText_, sizeof secondsText_);
  at += secondsLength_;
  const auto& milliseconds = kMilliseconds[static_cast<std::size_t>(timeMs - seconds * 1000)];
  std::memcpy(at, milliseconds.data(), milliseconds.size());
  return at + milliseconds.size();
}

void CopyLines::Finish() {
  text_.append(block_.get(), used_);
  used_ = block_.get();
}

void CopyLines::MakeRoom(std::size_t bytes) {
  Finish();
  if (bytes <= kBlockBytes) return;
  block_.reset(new char[bytes]);
  used_ = block_.get();
  end_ = used_ + bytes;
}
