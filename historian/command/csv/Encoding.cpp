#include "Encoding.h"

#include <algorithm>
#include <array>

#include "../Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::size_t kPiece = 64 * 1024;
constexpr std::string_view kUtf8Mark = "\xEF\xBB\xBF";
constexpr std::string_view kLittleMark = "\xFF\xFE";
constexpr std::string_view kBigMark = "\xFE\xFF";

// Windows-1252 from 0x80 to 0x9F; the rest of it is Latin-1.
constexpr std::array<wchar_t, 32> kWindows = {0x20AC, 0xFFFD, 0x201A, 0x0192, 0x201E, 0x2026, 0x2020, 0x2021,
                                              0x02C6, 0x2030, 0x0160, 0x2039, 0x0152, 0xFFFD, 0x017D, 0xFFFD,
                                              0xFFFD, 0x2018, 0x2019, 0x201C, 0x201D, 0x2022, 0x2013, 0x2014,
                                              0x02DC, 0x2122, 0x0161, 0x203A, 0x0153, 0xFFFD, 0x017E, 0x0178};

std::string_view MarkOf(Encoding encoding) {
  switch (encoding) {
    case Encoding::Utf8: return kUtf8Mark;
    case Encoding::Utf16Little: return kLittleMark;
    case Encoding::Utf16Big: return kBigMark;
    case Encoding::Windows1252: break;
  }
  return {};
}

// The text may end within a character, because it is only the beginning of the file.
bool LooksLikeUtf8(std::string_view text) {
  for (std::size_t cut = 0; cut < 4 && cut <= text.size(); ++cut) {
    if (IsUtf8(text.substr(0, text.size() - cut))) return true;
  }
  return false;
}

// In text of a European language, nearly every other byte is zero.
std::size_t ZerosAt(std::string_view text, std::size_t first) {
  std::size_t zeros = 0;
  for (std::size_t at = first; at < text.size(); at += 2) zeros += text[at] == '\0';
  return zeros;
}

}  // namespace

const char* NameOf(Encoding encoding) {
  switch (encoding) {
    case Encoding::Windows1252: return "latin-1";
    case Encoding::Utf16Little: return "utf-16";
    case Encoding::Utf16Big: return "utf-16be";
    case Encoding::Utf8: break;
  }
  return "utf-8";
}

std::optional<Encoding> EncodingNamed(std::string_view name) {
  for (const auto encoding :
       {Encoding::Utf8, Encoding::Windows1252, Encoding::Utf16Little, Encoding::Utf16Big}) {
    if (name == NameOf(encoding)) return encoding;
  }
  return {};
}

Encoding DetectEncoding(std::string_view beginning) {
  for (const auto encoding : {Encoding::Utf8, Encoding::Utf16Little, Encoding::Utf16Big}) {
    if (beginning.starts_with(MarkOf(encoding))) return encoding;
  }
  const std::size_t units = beginning.size() / 2;
  if (units > 2 && ZerosAt(beginning, 1) > units / 2) return Encoding::Utf16Little;
  if (units > 2 && ZerosAt(beginning, 0) > units / 2) return Encoding::Utf16Big;
  return LooksLikeUtf8(beginning) ? Encoding::Utf8 : Encoding::Windows1252;
}

bool TextSource::Read(std::string& text) {
  const std::size_t kept = piece_.size();
  piece_.resize(kept + kPiece);
  const std::size_t count = bytes_.Read(piece_.data() + kept, kPiece);
  piece_.resize(kept + count);
  if (count == 0) return false;
  if (!begun_ && std::string_view(piece_).starts_with(MarkOf(encoding_)))
    piece_.erase(0, MarkOf(encoding_).size());
  begun_ = true;
  Decode(text);
  return true;
}

void TextSource::Rewind() {
  bytes_.Rewind();
  piece_.clear();
  begun_ = false;
}

void TextSource::Decode(std::string& text) {
  if (encoding_ == Encoding::Utf16Little || encoding_ == Encoding::Utf16Big) return DecodeUtf16(text);
  if (encoding_ == Encoding::Utf8) {
    text += piece_;
  } else {
    std::wstring wide;
    for (const char c : piece_) {
      const auto byte = static_cast<unsigned char>(c);
      wide += byte >= 0x80 && byte < 0xA0 ? kWindows[byte - 0x80] : static_cast<wchar_t>(byte);
    }
    sys::AppendUtf8(text, wide);
  }
  piece_.clear();
}

void TextSource::DecodeUtf16(std::string& text) {
  std::wstring wide;
  const std::size_t high = encoding_ == Encoding::Utf16Little ? 1 : 0;
  const auto unit = [&](std::size_t at) {
    return static_cast<std::uint32_t>(static_cast<unsigned char>(piece_[at + high]) << 8 |
                                      static_cast<unsigned char>(piece_[at + 1 - high]));
  };
  std::size_t at = 0;
  for (; at + 1 < piece_.size(); at += 2) {
    std::uint32_t code = unit(at);
    if (code >= 0xD800 && code < 0xDC00) {  // the first of a pair
      if (at + 3 >= piece_.size()) break;
      const bool paired = unit(at + 2) >= 0xDC00 && unit(at + 2) < 0xE000;
      if (sizeof(wchar_t) > 2 && paired) {
        code = 0x10000 + ((code - 0xD800) << 10) + ((unit(at + 2) - 0xDC00) & 0x3FF);
        at += 2;
      }
    }
    wide += static_cast<wchar_t>(code);
  }
  sys::AppendUtf8(text, wide);
  piece_.erase(0, at);
}

}  // namespace historian::command
