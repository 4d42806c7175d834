#include "Guard.h"

#include <algorithm>
#include <random>

#include "Refused.h"

namespace historian::command {
namespace {

// Whether the host is a numeric address, which needs no DNS.
bool IsAddress(std::string_view host) {
  if (host.find(':') != host.npos) return host.find_first_not_of("0123456789abcdefABCDEF:.") == host.npos;
  return !host.empty() && host.find_first_not_of("0123456789.") == host.npos;
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
  return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                    [](char x, char y) { return Lower(x) == Lower(y); });
}

// Compares in constant time, independent of where the tokens differ.
bool SameToken(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  unsigned difference = 0;
  for (std::size_t i = 0; i < a.size(); ++i) difference |= static_cast<unsigned>(a[i] ^ b[i]);
  return difference == 0;
}

// The value of a cookie in the header Cookie.
std::string_view Cookie(std::string_view cookies, const std::string& name) {
  while (!cookies.empty()) {
    const std::size_t end = std::min(cookies.find(';'), cookies.size());
    std::string_view pair = cookies.substr(0, end);
    pair.remove_prefix(std::min(pair.find_first_not_of(' '), pair.size()));
    if (pair.starts_with(name + '=')) return pair.substr(name.size() + 1);
    cookies.remove_prefix(std::min(end + 1, cookies.size()));
  }
  return {};
}

void Answer(httplib::Response& response, int status, const std::string& text) {
  response.status = status;
  response.set_content(text + '\n', "text/plain; charset=utf-8");
}

}  // namespace

std::string_view HostName(std::string_view host) {
  if (host.starts_with('[')) {
    const std::size_t end = host.find(']');
    return end == host.npos ? std::string_view() : host.substr(1, end - 1);
  }
  return host.substr(0, host.find(':'));
}

std::string NewToken() {
  std::random_device random;
  std::string token;
  for (int i = 0; i < 32; ++i) token += "0123456789abcdef"[random() % 16];
  return token;
}

bool Guard::KnowsHost(std::string_view host) const {
  const std::string_view name = HostName(host);
  return IsAddress(name) || SameName(name, "localhost") ||
         std::any_of(options_.names.begin(), options_.names.end(),
                     [&](const std::string& known) { return SameName(name, known); });
}

bool Guard::ShowsToken(const httplib::Request& request) const {
  return SameToken(request.get_header_value("Authorization"), "Bearer " + options_.token) ||
         SameToken(Cookie(request.get_header_value("Cookie"), options_.cookie), options_.token);
}

bool Guard::Admit(const httplib::Request& request, httplib::Response& response) const {
  if (request.get_header_value_count("Host") != 1 || !KnowsHost(request.get_header_value("Host"))) {
    Answer(response, kMisdirected, "this page is not known by that name; historian serve --name adds one");
    return false;
  }
  if (request.method != "GET" && request.method != "HEAD") {
    response.set_header("Allow", "GET, HEAD");
    Answer(response, kMethodNotAllowed, "this page only reads");
    return false;
  }
  if (request.path.starts_with("/api/") && request.get_header_value("Sec-Fetch-Site") == "cross-site") {
    Answer(response, kForbidden, "asked for by a page of another site");
    return false;
  }
  if (options_.token.empty() || ShowsToken(request)) return true;
  // The address that the program has printed: moves the token into a cookie, so that the address no longer
  // shows it.
  if (request.path == "/" && SameToken(request.get_param_value("token"), options_.token)) {
    response.set_header("Set-Cookie",
                        options_.cookie + '=' + options_.token + "; Path=/; HttpOnly; SameSite=Strict");
    response.set_redirect("/", 303);
    return false;
  }
  response.set_header("WWW-Authenticate", "Bearer");
  Answer(response, kUnauthorized, "a token is needed: open the address that historian serve has printed");
  return false;
}

httplib::Headers Guard::ResponseHeaders() {
  return {{"Content-Security-Policy",
           "default-src 'none'; script-src 'self'; style-src 'self'; img-src 'self'; connect-src 'self'; "
           "base-uri 'none'; form-action 'none'; frame-ancestors 'none'"},
          {"X-Content-Type-Options", "nosniff"},
          {"Referrer-Policy", "no-referrer"},
          {"Cross-Origin-Resource-Policy", "same-origin"},
          {"Cross-Origin-Opener-Policy", "same-origin"},
          {"Cache-Control", "no-store"}};
}

}  // namespace historian::command
