#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>

#include "Messages.h"
#include "platform/Listener.h"
#include "server/ProtocolMessages.h"

namespace fuzz {

// A server on a port of 127.0.0.1 that answers the statements of some operations with fixed rows, one
// connection after the other. Each answer goes through a function before it is sent.
class FakeServer {
 public:
  // How an answer is sent: its bytes, and whether the connection is closed after them.
  struct Answer {
    std::string bytes;
    bool ends = false;
    std::size_t piece = 0;  // bytes per send, with a pause in between; 0: all at once
  };
  using Change = std::function<Answer(Messages)>;

  explicit FakeServer(Change change);
  ~FakeServer();

  int Port() const { return listener_.Port(); }

  // From now on sends answers unchanged, and closes the open connection.
  void Behave() { behaves_ = true; }

 private:
  // The current connection, and what it has received.
  struct Link {
    platform::Socket socket;
    bool behaves = false;
    bool open = true;
    char transaction = 'I';
    ProtocolMessages received = ProtocolMessages(ProtocolMessages::From::Client);
    Messages pending = {};  // the answers since the last Sync
    std::string statement = {};
  };

  void Run();
  void Serve(Link& link);
  bool Await(const Link& link) const;
  void Handle(Link& link, const ProtocolMessage& message);
  void Send(Link& link, Messages messages);

  Change change_;
  std::atomic<bool> behaves_ = false;
  platform::Listener listener_;
  std::thread thread_;
};

}  // namespace fuzz
