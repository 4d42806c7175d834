#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

// Stands between a client and the server and notes what kinds of messages the client sends. One connection at
// a time, unencrypted: connect with sslmode=disable and gssencmode=disable.
class ProtocolTap {
 public:
  // The server: a host or the path of a Unix socket's folder.
  ProtocolTap(const std::string& host, int port);
  ~ProtocolTap();

  // Where the client finds the tap: this port of 127.0.0.1.
  int Port() const { return port_; }

  // Ends the connection and listens no more, without a word to either side.
  void Stop();

  // One letter per message sent since the last call, as the protocol has them: Q simple query, P parse, B
  // bind, D describe, E execute, S sync, C close. Signing in is left out.
  std::string Take();

 private:
  void Serve();
  void Carry(int client, int server);
  void Note(const char* bytes, std::size_t count);

  std::string host_;
  int serverPort_;
  int port_ = 0;
  int listener_ = -1;
  int stop_[2] = {-1, -1};  // a pipe: closing its end for writing stops the tap

  std::string unread_;    // the beginning of a message whose end has not come yet
  bool started_ = false;  // the startup message, which has no letter, has been seen
  std::mutex mutex_;
  std::string kinds_;
  std::thread thread_;
};
