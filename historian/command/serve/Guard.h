#pragma once

#include <httplib.h>

#include <string>
#include <string_view>
#include <vector>

namespace historian::command {

// Decides which requests get an answer. A page of another site that is open in the same browser could send
// requests here, too: its own name in the header Host, after its DNS has named our address, or its marks in
// Sec-Fetch-Site, show it.
class Guard {
 public:
  struct Options {
    std::vector<std::string>
        names;           // host names that the page may be called by, beside localhost and numbers
    std::string token;   // that a request has to show; empty: none
    std::string cookie;  // the cookie that holds it
  };
  explicit Guard(Options options) : options_(std::move(options)) {}

  // Whether the request may be answered; where not, the response is its answer.
  bool Admit(const httplib::Request& request, httplib::Response& response) const;

  // The headers of every response: nothing but this page's own files is loaded, no other page holds it.
  static httplib::Headers ResponseHeaders();

 private:
  bool KnowsHost(std::string_view host) const;
  bool ShowsToken(const httplib::Request& request) const;

  Options options_;
};

// The name or number in the header Host: without the port, and without the brackets of IPv6.
std::string_view HostName(std::string_view host);

// 128 random bits in hexadecimal digits.
std::string NewToken();

}  // namespace historian::command
