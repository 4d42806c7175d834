#pragma once

#include <atomic>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Listener.h"
#include "server/ProtocolMessages.h"

// A proxy between a client and the server that records the types of the client's messages. One connection
// at a time, unencrypted: connect with sslmode=disable and gssencmode=disable.
class ProtocolTap {
 public:
  // Host and port are the server's; the host may be the folder of a Unix socket. With a folder for itself,
  // the tap listens on a Unix socket there, else on 127.0.0.1.
  ProtocolTap(const std::string& host, int port, const std::string& folder = "");
  ~ProtocolTap();

  // The port for the client to connect to.
  int Port() const { return listener_.Port(); }

  // Closes the connection and stops listening, without sending anything.
  void Stop();

  // One letter for each message sent since the last call, as in the protocol: Q simple query, P parse, B
  // bind, D describe, E execute, S sync, C close. Authentication is left out.
  std::string Take();

 private:
  void Serve();
  void Carry(const platform::Socket& client, const platform::Socket& server);
  void Note(ProtocolMessages& messages);

  std::string host_;
  int serverPort_;
  platform::Listener listener_;

  std::mutex mutex_;
  std::string kinds_;
  std::thread thread_;
};
