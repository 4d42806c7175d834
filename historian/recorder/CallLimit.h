#pragma once

// Cuts a link off when a call over it takes too long: a server that is frozen, or a network that swallows
// everything, acknowledges what is sent and never answers; nothing on the level of TCP notices.

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "DbmsAPI/Dbms.h"

namespace historian::recorder {

class CallLimit {
 public:
  using Clock = std::chrono::steady_clock;

  CallLimit();
  ~CallLimit();
  CallLimit(const CallLimit&) = delete;
  CallLimit& operator=(const CallLimit&) = delete;

  // Holds for calls over the open connection of the Dbms, as long as it lives; Renew starts the time over.
  class Guard {
   public:
    Guard(CallLimit& limit, Dbms& dbms, std::chrono::milliseconds most);
    ~Guard() { limit_.Disarm(); }
    Guard(const Guard&) = delete;
    Guard& operator=(const Guard&) = delete;

    void Renew();

   private:
    CallLimit& limit_;
    int socket_;
    std::chrono::milliseconds most_;
  };

  // From now on no call may go on past this instant.
  void EndBy(Clock::time_point end);
  // Whether a link was cut off since the last call of this.
  bool TakeExceeded();

 private:
  void Arm(int socket, Clock::time_point end);
  void Disarm();
  void Watch();

  std::mutex mutex_;
  std::condition_variable changed_;
  int socket_ = -1;
  Clock::time_point end_ = Clock::time_point::max();
  Clock::time_point lastEnd_ = Clock::time_point::max();
  Clock::time_point again_{};  // not before, once a link was cut off
  bool exceeded_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace historian::recorder
