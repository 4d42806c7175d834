#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Socket.h"

// A proxy between a client and the server that notes what kinds of messages the client sends. One connection
// at a time, unencrypted: connect with sslmode=disable and gssencmode=disable.
class ProtocolTap {
 public:
  // Host and port are the server's; the host may be the path of a Unix socket's folder. With a folder of its
  // own the tap listens on a Unix socket there, else on 127.0.0.1.
  ProtocolTap(const std::string& host, int port, const std::string& folder = "");
  ~ProtocolTap();

  // Where the client finds the tap.
  int Port() const { return port_; }

  // Ends the connection and listens no more, without a word to either side.
  void Stop();

  // One letter per message sent since the last call, as the protocol has them: Q simple query, P parse, B
  // bind, D describe, E execute, S sync, C close. Signing in is left out.
  std::string Take();

 private:
  void Serve();
  void Carry(const platform::Socket& client, const platform::Socket& server);
  void Note(const char* bytes, std::size_t count);

  std::string host_;
  int serverPort_;
  int port_;
  platform::Socket listener_;
  platform::Socket stop_, stopping_;  // two ends of one line: closing the first stops the tap

  std::string unread_;    // the beginning of a message whose end has not come yet
  bool started_ = false;  // the startup message, which has no letter, has been seen
  std::mutex mutex_;
  std::string kinds_;
  std::thread thread_;
};
