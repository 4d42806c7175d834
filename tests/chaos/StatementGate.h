#pragma once

#include <functional>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>

#include "platform/Listener.h"
#include "server/ProtocolMessages.h"

// A proxy between a client and the server that counts the client's statements and lets a fault happen at one
// of them. Everything that the client sends before it waits for an answer counts as one statement: a query,
// the preparation or execution of a prepared statement, the data of a COPY. One connection at a time,
// unencrypted.
class StatementGate {
 public:
  enum class Point {
    Before,  // the server has seen nothing of the statement
    Inside,  // the server has executed it without committing, or has seen half of it
    After    // the server has executed it, but its answer is held back
  };
  // What follows the fault: either the client gets what the server still sends until it closes the
  // connection, or the connection is closed at both ends at once. An answer that was held back is lost in
  // both cases.
  enum class Then { Relay, Close };
  // Called on the gate's thread with the process id of the server's end.
  using Fault = std::function<Then(int backend)>;

  // Host and port are the server's. Until Open, the gate's own port refuses connections.
  StatementGate(std::string host, int port);
  ~StatementGate();
  void Open();

  int Port() const { return listener_.Port(); }  // on 127.0.0.1

  // Lets a fault happen once, at the n-th statement from now on, counting from 1.
  void At(int n, Point point, Fault fault);

  int Statements() const;  // since the last At
  bool Happened() const;   // the fault of the last At

 private:
  // The part of the client's current statement that has been received.
  struct Statement {
    std::string bytes;
    std::size_t withoutSync = 0;  // size of the part before the final Sync; 0 when there is none
    bool executes = false;        // false: it only prepares
  };
  struct Link {
    platform::Socket client, server;
    int backend = 0;
    Statement statement = {};
  };

  void Serve();
  void Carry(Link& link);
  bool Pass(Link& link, const ProtocolMessage& message);
  bool PassStatement(const Link& link, const Statement& statement);
  bool IsDue();
  bool SendToServer(const Link& link, std::string_view bytes) const;
  void SendUpToThePoint(const Link& link, const Statement& statement) const;
  void AwaitAnswer(const Link& link, const std::string& letters) const;
  void RelayTheRest(const Link& link) const;

  std::string host_;
  int serverPort_;
  platform::Listener listener_;

  mutable std::mutex mutex_;
  int statements_ = 0, at_ = 0;
  bool happened_ = false;
  Point point_ = Point::Before;
  Fault fault_;
  std::thread thread_;
};
