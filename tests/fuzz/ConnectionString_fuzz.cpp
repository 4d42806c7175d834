// Connection strings: composed texts are split into their parts again, and any text is split as documented.

#include <algorithm>

#include "Fuzz.h"
#include "client/pq/ConnectionString.h"
#include "port/Utf8.h"

namespace {

std::string Find(const pq::ConnectionKeywords& keywords, std::string_view name) {
  const auto found =
      std::find_if(keywords.begin(), keywords.end(), [&](const auto& one) { return one.first == name; });
  return found == keywords.end() ? std::string() : found->second;
}

std::wstring Without(std::wstring text, const wchar_t* characters) {
  std::erase_if(text, [&](wchar_t c) { return std::wstring_view(characters).find(c) != std::wstring::npos; });
  return text;
}

std::wstring Quoted(const std::wstring& text) {
  std::wstring quoted = L"'";
  for (const wchar_t c : text) {
    if (c == L'\'' || c == L'\\') quoted += L'\\';
    quoted += c;
  }
  return quoted + L"'";
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  fuzz::Input input(data, size);
  const unsigned port = input.Take<std::uint16_t>();
  const std::size_t length = input.Take<std::uint8_t>();
  const std::wstring first = sys::FromUtf8(input.Bytes(length)), second = sys::FromUtf8(input.Rest());

  // In quotes, any name is preserved.
  const std::wstring host = L"h" + Without(first, L"@"), name = L"dbname=" + Quoted(second), options = first;
  const std::wstring text = host + L"," + std::to_wstring(port) + L"@" + name + L";" + options;
  const auto keywords = pq::ReadConnectionString(text, first, second);
  REQUIRE(Find(keywords, "host") == sys::ToUtf8(host));
  REQUIRE(Find(keywords, "port") == (port == 0 ? "" : std::to_string(port)));
  REQUIRE(Find(keywords, "dbname") == sys::ToUtf8(name));
  REQUIRE(Find(keywords, "options") == sys::ToUtf8(options));
  REQUIRE(Find(keywords, "user") == sys::ToUtf8(first));
  REQUIRE(Find(keywords, "password") == sys::ToUtf8(second));
  REQUIRE(keywords.back() == std::pair<std::string, std::string>("client_encoding", "UTF8"));

  // Without quotes, the text is split at the first '@' and the first ';' after it.
  const std::wstring plain = Without(second, L"'\\");
  const std::size_t at = plain.find(L'@');
  const std::wstring rest = at == std::wstring::npos ? plain : plain.substr(at + 1);
  const std::size_t end = std::min(rest.find(L';'), rest.size());
  const auto divided = pq::ReadConnectionString(plain, L"", L"");
  REQUIRE(Find(divided, "dbname") == sys::ToUtf8(rest.substr(0, end)));
  REQUIRE(Find(divided, "options") == sys::ToUtf8(end < rest.size() ? rest.substr(end + 1) : L""));
  if (at == std::wstring::npos) REQUIRE(Find(divided, "host").empty() && Find(divided, "port").empty());

  // No text adds keywords other than the known ones.
  for (const auto& [keyword, value] : pq::ReadConnectionString(second, first, L"")) REQUIRE(!value.empty());
  return 0;
}
