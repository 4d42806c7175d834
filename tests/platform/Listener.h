#pragma once

#include <string>

#include "platform/Socket.h"

namespace platform {

// Accepts connections until another thread stops it.
class Listener {
 public:
  // On a free port of 127.0.0.1. Connections are refused until Open.
  Listener();
  // On the Unix socket that PostgreSQL has in a folder for a port.
  Listener(const std::string& folder, int port);

  int Port() const { return port_; }
  void Open();

  // Waits for the next connection. Empty when stopped.
  Socket Accept() const;

  // Ends every wait for Stopped. Any thread may call it, and more than once.
  void Stop() { stop_.Close(); }
  // For WaitForAny and SendAll: has something to receive once Stop has been called.
  const Socket& Stopped() const { return stopped_; }

  // Refuses connections again. No other thread may use the listener any more.
  void Close();

 private:
  Socket socket_;
  std::string host_;
  int port_;
  Socket stop_, stopped_;  // two ends of one connection
};

}  // namespace platform
