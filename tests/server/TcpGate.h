#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <limits>
#include <list>
#include <mutex>
#include <string>
#include <thread>

#include "platform/Listener.h"

// A proxy between a client and a server that passes bytes on until the test says otherwise. It can be stopped
// at any moment.
class TcpGate {
 public:
  TcpGate(std::string host, int port);
  ~TcpGate();

  int Port() const { return listener_.Port(); }  // on 127.0.0.1

  // Each passes on this many more bytes from clients, then does its fault to one connection. Later
  // connections are passed on.
  void CutAfter(std::int64_t bytes) { Plan(Fault::Cut, bytes); }          // closes it at both ends
  void SwallowAfter(std::int64_t bytes) { Plan(Fault::Swallow, bytes); }  // open, but passes nothing on
  void StallAfter(std::int64_t bytes) { Plan(Fault::Stall, bytes); }      // open, but reads nothing
  // From now on nothing from the server is passed on, on the existing connections.
  void SwallowAnswers() { withoutAnswers_ = connections_.load(); }
  // From now on, later connections are closed at once.
  void TurnAway() { turnsAway_ = true; }
  void Delay(std::chrono::milliseconds each) {
    delayMs_ = each.count();
  }  // of each piece, in both directions

  std::int64_t Bytes() const { return bytes_; }  // from clients so far
  int Connections() const { return connections_; }
  int Faults() const { return faults_; }  // that have happened

 private:
  enum class Fault { None, Cut, Swallow, Stall };

  void Plan(Fault fault, std::int64_t bytes);
  Fault Count(std::size_t received, std::size_t& through);
  void Serve();
  void Carry(platform::Socket client, int number);
  bool Pass(const platform::Socket& from, const platform::Socket& to, bool fromClient, Fault& fault);
  static bool Discard(const platform::Socket& from);
  bool Pause();

  std::string host_;
  int serverPort_;
  platform::Listener listener_;

  std::mutex mutex_;
  std::condition_variable stopped_;
  bool isStopping_ = false;
  std::atomic<bool> turnsAway_ = false;
  Fault fault_ = Fault::None;
  std::int64_t faultAt_ = std::numeric_limits<std::int64_t>::max();
  std::atomic<std::int64_t> bytes_ = 0, delayMs_ = 0;
  std::atomic<int> connections_ = 0, withoutAnswers_ = 0, faults_ = 0;
  std::list<std::thread> carriers_;
  std::thread thread_;
};
