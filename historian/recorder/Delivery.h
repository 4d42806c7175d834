#pragma once

// The worker's access to the server: the connection, the ledger, batches, aggregates. Every failure is thrown
// as an Error.

#include <memory>
#include <optional>
#include <string>

#include "historian/Recorder.h"
#include "historian/recorder/CallLimit.h"
#include "historian/recorder/Ledger.h"
#include "historian/recorder/Reporter.h"
#include "historian/recorder/Spool.h"

namespace historian::recorder {

class Delivery {
 public:
  Delivery(std::shared_ptr<Dbms> dbms, const RecorderOptions& options, Spool& spool, Reporter& reporter)
      : dbms_(std::move(dbms)), options_(options), spool_(spool), reporter_(reporter), ledger_(spool.Id()) {}

  // Must succeed before anything is stored, and again after each failure. Returns the outcome of the batch in
  // flight if the server has stored it.
  std::optional<Outcome> Prepare();
  // No value when the batch turns out to be stored already: Prepare then returns its outcome.
  std::optional<Outcome> Store(const Batch& batch);
  // Refreshes a part of the aggregates; false when nothing is to be refreshed.
  bool RefreshAggregates();

  void GoToAnotherServer();
  // Call it after each failure. If a call exceeded its limit, later calls may take longer.
  void LearnFromFailure();
  // Ends every call at this instant at the latest.
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

  std::optional<std::int64_t> safeStartMs_;  // from which aggregates may be refreshed, if there are any
  std::string session_;                      // identifies the server's session: process and start time
  int unanswered_ = 0;                       // failed attempts to connect in a row
  int patience_ = 1;                         // factor of the call limit; doubles while the limit is exceeded
};

}  // namespace historian::recorder
