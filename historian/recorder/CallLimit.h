#pragma once

// Cuts a connection when a call over it takes too long. A frozen server, or a proxy that swallows everything,
// acknowledges what is sent and never answers, so TCP itself does not notice.

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

  // Limits calls over the open connection of the Dbms during its lifetime. Renew restarts the time.
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

  // Ends every call at this instant at the latest.
  void EndBy(Clock::time_point end);
  // Whether a connection was cut since the last call of this function.
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
  Clock::time_point again_{};  // earliest time of the next cut, after one
  bool exceeded_ = false;
  bool stopping_ = false;
  std::thread thread_;
};

}  // namespace historian::recorder
