#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ByteSource.h"

namespace historian::command {

enum class Encoding { Utf8, Windows1252, Utf16Little, Utf16Big };

const char* NameOf(Encoding encoding);
// utf-8, latin-1 (with the characters that Windows adds), utf-16, utf-16be.
std::optional<Encoding> EncodingNamed(std::string_view name);

// Recognises the encoding by the beginning of a file: by a byte order mark or the zero bytes of UTF-16, else
// UTF-8 if it is valid.
Encoding DetectEncoding(std::string_view beginning);

// Converts a file to UTF-8, without a byte order mark.
class TextSource {
 public:
  TextSource(ByteSource& bytes, Encoding encoding) : bytes_(bytes), encoding_(encoding) {}

  // Appends the next piece; false at the end.
  bool Read(std::string& text);
  void Rewind();

  Encoding encoding() const { return encoding_; }
  const ByteSource& bytes() const { return bytes_; }

 private:
  void Decode(std::string& text);
  void DecodeUtf16(std::string& text);

  ByteSource& bytes_;
  Encoding encoding_;
  std::string piece_;  // bytes not yet decoded
  bool begun_ = false;
};

}  // namespace historian::command
