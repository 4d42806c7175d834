#include "SQLAPI.h"
#include "port/Utf8.h"

SAString::SAString(const SAChar* text) {
  if (text) text_ = text;
}

SAString::SAString(const SAChar* text, std::size_t length) {
  if (text) text_.assign(text, length);
}

SAString::SAString(const char* utf8) {
  if (utf8) text_ = sys::FromUtf8(utf8);
}

SAString::SAString(std::wstring text) : text_(std::move(text)) {}

SAString& SAString::operator=(const SAChar* text) {
  if (text) {
    text_ = text;
  } else {
    text_.clear();
  }
  return *this;
}
