#include <gtest/gtest.h>

#include "historian/command/serve/Guard.h"

using historian::command::Guard;
using historian::command::HostName;

namespace {

httplib::Request Get(const std::string& path, const std::string& host = "127.0.0.1:8470") {
  httplib::Request request;
  request.method = "GET";
  request.path = path;
  request.set_header("Host", host);
  return request;
}

// The status with which a request is refused; 0: it is admitted.
int Refusal(const Guard& guard, const httplib::Request& request) {
  httplib::Response response;
  return guard.Admit(request, response) ? 0 : response.status;
}

const Guard kOpen({{"plant.example"}, "", "historian"});
const Guard kClosed({{}, "0123456789abcdef", "historian"});

TEST(Guard, KnowsAddressesAndItsOwnNames) {
  for (const char* host : {"127.0.0.1", "127.0.0.1:80", "localhost:8470", "LocalHost", "[::1]:8470", "[::1]",
                           "10.0.0.5:8470", "plant.example", "Plant.Example:8470"})
    EXPECT_EQ(Refusal(kOpen, Get("/", host)), 0) << host;
}

// A page of another site would use a name whose DNS entry points here.
TEST(Guard, RefusesOtherNames) {
  for (const char* host : {"evil.example", "127.0.0.1.evil.example", "localhost.evil.example:8470", "",
                           ":8470", "plant.example.evil", "[evil]", "[::1", "1e100.net", "plant.example."})
    EXPECT_EQ(Refusal(kOpen, Get("/", host)), 421) << host;
}

TEST(Guard, RefusesNoHostAndTwo) {
  httplib::Request none = Get("/");
  none.headers.clear();
  EXPECT_EQ(Refusal(kOpen, none), 421);
  httplib::Request two = Get("/");
  two.set_header("Host", "evil.example");
  EXPECT_EQ(Refusal(kOpen, two), 421);
}

TEST(Guard, LetsOnlyReadingThrough) {
  for (const char* method : {"POST", "PUT", "DELETE", "PATCH", "OPTIONS"}) {
    httplib::Request request = Get("/api/tags");
    request.method = method;
    EXPECT_EQ(Refusal(kOpen, request), 405) << method;
  }
  httplib::Request head = Get("/");
  head.method = "HEAD";
  EXPECT_EQ(Refusal(kOpen, head), 0);
}

TEST(Guard, RefusesDataToPagesOfOtherSites) {
  httplib::Request request = Get("/api/tags");
  request.set_header("Sec-Fetch-Site", "cross-site");
  EXPECT_EQ(Refusal(kOpen, request), 403);
  request.headers.erase("Sec-Fetch-Site");
  request.set_header("Sec-Fetch-Site", "same-origin");
  EXPECT_EQ(Refusal(kOpen, request), 0);
}

TEST(Guard, AsksForTheToken) {
  EXPECT_EQ(Refusal(kClosed, Get("/")), 401);
  EXPECT_EQ(Refusal(kClosed, Get("/api/tags")), 401);
  for (const char* authorization :
       {"Bearer 0123456789abcdee", "Bearer 0123456789abcde", "Bearer ", "Basic 0123456789abcdef"}) {
    httplib::Request request = Get("/api/tags");
    request.set_header("Authorization", authorization);
    EXPECT_EQ(Refusal(kClosed, request), 401) << authorization;
  }
  httplib::Request bearer = Get("/api/tags");
  bearer.set_header("Authorization", "Bearer 0123456789abcdef");
  EXPECT_EQ(Refusal(kClosed, bearer), 0);
  httplib::Request cookie = Get("/");
  cookie.set_header("Cookie", "other=1; historian=0123456789abcdef");
  EXPECT_EQ(Refusal(kClosed, cookie), 0);
  httplib::Request other = Get("/");
  other.set_header("Cookie", "xhistorian=0123456789abcdef; historian=");
  EXPECT_EQ(Refusal(kClosed, other), 401);
}

TEST(Guard, MovesTheTokenOfTheAddressIntoACookie) {
  httplib::Request request = Get("/");
  request.params.emplace("token", "0123456789abcdef");
  httplib::Response response;
  EXPECT_FALSE(kClosed.Admit(request, response));
  EXPECT_EQ(response.status, 303);
  EXPECT_EQ(response.get_header_value("Location"), "/");
  EXPECT_EQ(response.get_header_value("Set-Cookie"),
            "historian=0123456789abcdef; Path=/; HttpOnly; SameSite=Strict");
  request.path = "/api/tags";
  EXPECT_EQ(Refusal(kClosed, request), 401);
  request = Get("/");
  request.params.emplace("token", "wrong");
  EXPECT_EQ(Refusal(kClosed, request), 401);
}

TEST(Guard, TakesTheNameOutOfHost) {
  EXPECT_EQ(HostName("localhost:80"), "localhost");
  EXPECT_EQ(HostName("[2001:db8::1]:80"), "2001:db8::1");
  EXPECT_EQ(HostName("[2001:db8::1"), "");
}

TEST(Guard, MakesAnotherTokenEachTime) {
  const std::string token = historian::command::NewToken();
  EXPECT_EQ(token.size(), 32u);
  EXPECT_EQ(token.find_first_not_of("0123456789abcdef"), token.npos);
  EXPECT_NE(token, historian::command::NewToken());
}

}  // namespace
