#pragma once

// The worker's way to the server: the connection, what the ledger there knows, batches, aggregates. Every
// failure is thrown as an Error.

#include <memory>
#include <optional>
#include <string>

#include "historian/Recorder.h"
#include "historian/Spool.h"
#include "historian/recorder/CallLimit.h"
#include "historian/recorder/Ledger.h"
#include "historian/recorder/Reporter.h"

namespace historian::recorder {

class Delivery {
 public:
  Delivery(std::shared_ptr<Dbms> dbms, const RecorderOptions& options, Spool& spool, Reporter& reporter)
      : dbms_(std::move(dbms)), options_(options), spool_(spool), reporter_(reporter), ledger_(spool.Id()) {}

  // Has to succeed before anything is stored, and again after each failure. Gives what came of the batch in
  // flight when the server has stored it.
  std::optional<Outcome> Prepare();
  // Nothing when the batch turns out to be stored already: Prepare then says what came of it.
  std::optional<Outcome> Store(const Batch& batch);
  // Refreshes a part of the aggregates; false when nothing is to be refreshed.
  bool RefreshAggregates();

  void GoToAnotherServer();
  // After each failure: calls may take longer if it was their limit.
  void LearnFromFailure();
  // From now on no call may go on past this instant.
  void EndBy(CallLimit::Clock::time_point end) { callLimit_.EndBy(end); }

 private:
  void EndFormerSession(Link& link);
  std::optional<Outcome> SettleInFlight(Link& link);
  void LearnSafeStart(Link& link);

  std::shared_ptr<Dbms> dbms_;
  const RecorderOptions& options_;
  Spool& spool_;
  Reporter& reporter_;
  Ledger ledger_;
  CallLimit callLimit_;

  std::optional<std::int64_t> safeStartMs_;  // for refreshing aggregates, where there are any
  std::string session_;                      // process and start of the server's session, to be found again
  int unanswered_ = 0;                       // attempts to connect in a row
  int patience_ = 1;                         // times the call limit: doubles while it is exceeded
};

}  // namespace historian::recorder
