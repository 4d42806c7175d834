#pragma once

// The recorder's thread: takes batches from the spool and brings them to the server.

#include <array>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

#include "historian/Spool.h"
#include "historian/recorder/CallLimit.h"
#include "historian/recorder/Failure.h"
#include "historian/recorder/Ledger.h"
#include "historian/recorder/Reporter.h"

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
  void GoToAnotherServer();
  void EndFormerSession(Link& link);
  void SettleInFlight(Link& link);
  std::optional<Outcome> Store(const Batch& batch);
  void Idle();
  void LearnSafeStart(Link& link);
  bool Refresh();
  void Fail(const Error& error);
  void ShowState();
  std::array<bool, kKinds> Allowed() const;

  void Pause(Milliseconds pause);
  void WaitForWork();
  bool Stopping();

  std::shared_ptr<Dbms> dbms_;
  const RecorderOptions& options_;
  Spool& spool_;
  Reporter& reporter_;
  Ledger ledger_;
  CallLimit callLimit_;
  Backoff backoff_;
  std::mt19937 random_{std::random_device()()};

  bool ready_ = false;           // connected, with a ledger, and nothing unknown
  std::optional<Outcome> done_;  // of the batch in flight
  std::optional<Kind> storing_;  // of the batch on its way
  std::array<Clock::time_point, kKinds> refusedUntil_{};
  std::array<bool, kKinds> refused_{};
  std::optional<std::int64_t> safeStartMs_;  // for refreshing aggregates, where there are any
  Clock::time_point refreshFrom_{};          // not before
  std::string session_;                      // process and start of the server's session, to be found again
  int unanswered_ = 0;                       // attempts to connect in a row
  int patience_ = 1;                         // times the call limit: doubles while it is exceeded

  std::mutex mutex_;
  std::condition_variable wake_, settled_;
  bool work_ = false, stopping_ = false, changeRole_ = false;
  std::thread thread_;  // last: it uses all of the above
};

}  // namespace historian::recorder
