#pragma once

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "../Server.h"

namespace historian::command {

// A pool of read-only connections to the database. A connection serves one request at a time.
class Pool {
 public:
  struct Limits {
    std::size_t connections = 4;
    std::size_t waiting = 8;  // requests that wait for a connection; one more is refused
  };
  // Connects when the first request comes. Throws a Refusal when the options of the session are set already.
  Pool(const ServerOptions& options, Limits limits);

  // Runs a request with a connection of its own. If the connection turns out to be lost, as after a restart
  // of the server, runs the request once more with a new one. Throws RequestRefused when too many requests
  // wait.
  void Run(const std::function<void(Server&)>& request);

 private:
  using Connection = std::unique_ptr<Server>;
  class Place;

  ServerOptions options_;
  Limits limits_;
  std::mutex mutex_;
  std::condition_variable free_;
  std::vector<Connection> idle_;
  std::size_t used_ = 0, waiting_ = 0;
};

// The connection options with which every statement runs in a read-only transaction and for 30 seconds at
// most.
ServerOptions ReadOnly(ServerOptions options);

// Whether an SQLSTATE means that the server is away: no answer, a lost connection, a server that is shutting
// down or starting, too many connections.
bool SaysServerAway(const std::string& sql_state);

}  // namespace historian::command
