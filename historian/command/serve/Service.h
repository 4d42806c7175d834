#pragma once

#include <httplib.h>

#include <future>
#include <string>
#include <thread>

#include "Api.h"
#include "Guard.h"

namespace historian::command {

// Where the page is served.
struct Address {
  std::string host = "127.0.0.1";  // a numeric address, or localhost
  int port = 8470;                 // 0: any free port

  bool loopback() const;
  // The page's own address: http://127.0.0.1:8470/
  std::string Url() const;
};

// HOST, HOST:PORT, :PORT, [IPv6]:PORT. Throws a Refusal for anything else.
Address ReadAddress(const std::string& text);

// Serves the page and its data on its own threads, from its construction until Stop.
class Service {
 public:
  struct Options {
    ServerOptions server;
    Pool::Limits limits;
    Address address;
    std::string token;  // empty: none
    std::vector<std::string> names;
    std::uint64_t most_samples = 1'000'000;  // limit of a download
  };
  // Throws a Refusal when the address cannot be used.
  explicit Service(const Options& options);
  ~Service();  // waits for the requests under way

  const Address& address() const { return address_; }  // with the port that is used
  // Stops when the current requests have ended. Returns false if they have not ended within a second.
  bool Stop();

 private:
  void Bind();
  void Route();

  Address address_;
  Guard guard_;
  Api api_;
  httplib::Server server_;
  std::promise<void> ended_;
  std::thread thread_;
};

}  // namespace historian::command
