#include "SQLAPI.h"
#include "port/Utf8.h"

SAString::SAString(const SAChar* text) : text_(text ? text : L"") {}

SAString::SAString(const SAChar* text, std::size_t length) : text_(text, text ? length : 0) {}

SAString::SAString(const char* utf8) : text_(sys::FromUtf8(utf8 ? utf8 : "")) {}

SAString::SAString(std::wstring text) : text_(std::move(text)) {}

SAString& SAString::operator=(const SAChar* text) {
  text_ = text ? text : L"";
  return *this;
}
