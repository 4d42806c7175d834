#pragma once

#include <httplib.h>

#include <string>
#include <string_view>
#include <vector>

namespace historian::command {

// Decides which requests get an answer. A page of another site that is open in the same browser could send
// requests, too. Such requests are recognised by the other site's name in the header Host (DNS rebinding) or
// by Sec-Fetch-Site.
class Guard {
 public:
  struct Options {
    std::vector<std::string> names;  // host names of the page, besides localhost and numeric addresses
    std::string token;               // required of a request; empty: none
    std::string cookie;              // the name of the cookie with the token
  };
  explicit Guard(Options options) : options_(std::move(options)) {}

  // Whether the request may be answered. If not, the response already holds the refusal.
  bool Admit(const httplib::Request& request, httplib::Response& response) const;

  // The headers of every response: the page loads only its own files, and no other page may embed it.
  static httplib::Headers ResponseHeaders();

 private:
  bool KnowsHost(std::string_view host) const;
  bool ShowsToken(const httplib::Request& request) const;

  Options options_;
};

// The name or address in the header Host, without the port and the brackets of IPv6.
std::string_view HostName(std::string_view host);

// 128 random bits in hexadecimal digits.
std::string NewToken();

}  // namespace historian::command
