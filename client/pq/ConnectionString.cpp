#include "ConnectionString.h"

#include <algorithm>

#include "port/Utf8.h"

namespace pq {
namespace {

constexpr char kLibraryName[] = "DbmsAPI";
constexpr char kEncoding[] = "UTF8";

struct Parts {
  std::wstring_view host, port, database, options;
};

bool IsWideDigit(wchar_t c) { return c >= L'0' && c <= L'9'; }

// A negative number counts as a port, so that libpq refuses it.
bool IsPort(std::wstring_view text) {
  if (text.starts_with(L'-')) text.remove_prefix(1);
  return !text.empty() && std::all_of(text.begin(), text.end(), IsWideDigit);
}

void SplitServer(std::wstring_view server, Parts& parts) {
  parts.host = server;
  const std::size_t comma = server.rfind(L',');
  if (comma == std::wstring_view::npos || !IsPort(server.substr(comma + 1))) return;
  parts.host = server.substr(0, comma);
  // 0 is no port: callers that always write a number use it for none.
  if (server.substr(comma + 1) != L"0") parts.port = server.substr(comma + 1);
}

// The first semicolon outside quoted values: `keyword='...'`, where a backslash escapes a quote.
std::size_t FindOptions(std::wstring_view text) {
  bool quoted = false;
  wchar_t last = 0;  // the last character that was not blank
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t c = text[i];
    if (quoted && c == L'\\') {
      ++i;
    } else if (c == L'\'' && (quoted || last == L'=')) {
      quoted = !quoted;
    } else if (c == L';' && !quoted) {
      return i;
    }
    if (c != L' ') last = c;
  }
  return std::wstring_view::npos;
}

Parts Split(std::wstring_view text) {
  Parts parts;
  const std::size_t at = text.find(L'@');
  if (at != std::wstring_view::npos) {
    SplitServer(text.substr(0, at), parts);
    text.remove_prefix(at + 1);
  }
  const std::size_t semicolon = FindOptions(text);
  parts.database = text.substr(0, semicolon);
  if (semicolon != std::wstring_view::npos) parts.options = text.substr(semicolon + 1);
  return parts;
}

}  // namespace

ConnectionKeywords ReadConnectionString(std::wstring_view text, std::wstring_view user,
                                        std::wstring_view password) {
  const Parts parts = Split(text);
  ConnectionKeywords keywords = {{"fallback_application_name", kLibraryName}};
  const auto add = [&keywords](const char* keyword, std::wstring_view value) {
    if (!value.empty()) keywords.emplace_back(keyword, sys::ToUtf8(value));
  };
  add("dbname", parts.database);
  add("host", parts.host);
  add("port", parts.port);
  add("user", user);
  add("password", password);
  add("options", parts.options);
  keywords.emplace_back("client_encoding", kEncoding);
  return keywords;
}

}  // namespace pq
