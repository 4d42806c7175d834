#include "DbmsAPI/frame/Number.h"

#include <charconv>
#include <cwctype>

std::wstring ShortestText(double value) {
  char text[32];
  const auto end = std::to_chars(text, text + sizeof text, value).ptr;
  return std::wstring(text, end);
}

int LeadingInteger(std::wstring_view text) {
  std::string digits;
  std::size_t at = 0;
  while (at < text.size() && std::iswspace(static_cast<std::wint_t>(text[at])) != 0) ++at;
  if (at < text.size() && (text[at] == L'+' || text[at] == L'-')) {
    if (text[at] == L'-') digits.push_back('-');
    ++at;
  }
  while (at < text.size() && text[at] >= L'0' && text[at] <= L'9')
    digits.push_back(static_cast<char>(text[at++]));
  int value = 0;
  std::from_chars(digits.data(), digits.data() + digits.size(), value);
  return value;
}
