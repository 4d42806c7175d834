#pragma once

// The recorder's thread: takes batches from the spool, delivers them, and decides when to try again.

#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

#include "historian/recorder/Delivery.h"
#include "historian/recorder/Failure.h"
#include "historian/recorder/Reporter.h"
#include "historian/recorder/Spool.h"

namespace historian::recorder {

class Worker {
 public:
  Worker(std::shared_ptr<Dbms> dbms, const RecorderOptions& options, Spool& spool, Reporter& reporter);
  ~Worker();

  void Wake();        // something has been added to the spool
  void ChangeRole();  // before the next batch
  bool WaitUntilStored(std::chrono::milliseconds most);

 private:
  using Clock = std::chrono::steady_clock;
  using Milliseconds = std::chrono::milliseconds;

  void Run();
  void Turn();
  void Prepare();
  void Idle();
  bool Refresh();
  void Fail(const Error& error);
  void ShowState();
  std::array<bool, kKinds> Allowed() const;

  void Pause(Milliseconds pause);
  void WaitForWork();
  bool Stopping();

  const RecorderOptions& options_;
  Spool& spool_;
  Reporter& reporter_;
  Delivery delivery_;
  Backoff backoff_;
  std::mt19937 random_{std::random_device()()};

  bool ready_ = false;           // connected, with a ledger, and the batch in flight settled
  std::optional<Outcome> done_;  // of the batch in flight
  std::optional<Kind> storing_;  // of the batch that is being stored
  std::array<Clock::time_point, kKinds> refusedUntil_{};
  std::array<bool, kKinds> refused_{};
  Clock::time_point refreshFrom_{};  // no refresh of aggregates before this

  std::mutex mutex_;
  std::condition_variable wake_, settled_;
  bool work_ = false, stopping_ = false, changeRole_ = false;
  std::thread thread_;  // last: it uses all of the above
};

}  // namespace historian::recorder
