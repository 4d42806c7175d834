#include "historian/Backfill.h"

#include <algorithm>
#include <exception>
#include <map>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "historian/Aggregates.h"
#include "historian/BackfillLedger.h"
#include "historian/CopyRows.h"
#include "historian/Error.h"
#include "historian/Link.h"
#include "historian/StoreRows.h"

namespace historian {
namespace {

constexpr char kOperation[] = "backfill";

// Checking samples against a compressed chunk may decompress more than the extension allows by default.
// Without the extension the setting means nothing.
constexpr char kBegin[] = "BEGIN; SET LOCAL timescaledb.max_tuples_decompressed_per_dml_transaction TO 0";

// The chunks that hold samples of a source's unfinished batches: name, range in hours since 2000, whether the
// chunk has been compressed. $1 source.
constexpr char kChunks[] =
    "select format('%I.%I', chunk_schema, chunk_name),"
    " floor(extract(epoch from range_start - timestamptz '2000-01-01 00:00:00+00') / 3600)::bigint,"
    " ceil(extract(epoch from range_end - timestamptz '2000-01-01 00:00:00+00') / 3600)::bigint, is_compressed"
    " from timescaledb_information.chunks c where hypertable_schema = current_schema()"
    " and hypertable_name = 'datalog' and exists (select from historian_backfill b where b.source = $1"
    " and not b.finished and b.oldest < c.range_end and b.newest >= c.range_start) order by range_start";

constexpr char kDeadlock[] = "40P01";
constexpr int kMostAttempts = 10;

constexpr Time kYear2000{std::chrono::seconds(946684800)};

struct Batch {
  std::int64_t begins = 0, ends = 0;
  std::vector<LogSample> samples;
};

// One call of Backfill. The threads take batches from it and report them as stored.
class Run {
 public:
  Run(const std::string& source, const SampleReader& read, const BackfillOptions& options)
      : ledger_(source), read_(read), options_(options) {}

  BackfillReport Load(const std::vector<std::shared_ptr<Dbms>>& connections);

 private:
  void Prepare(Dbms& dbms);
  void LoadBatches(Dbms& dbms) noexcept;
  bool Take(Batch& batch);
  void Store(Link& link, const Batch& batch);
  bool TryToStore(Link& link, const CopyRows& copy, LedgerEntry& entry);
  void Count(const LedgerEntry& entry, bool stored);
  void Progress();
  void Finish(Dbms& dbms);
  bool FinishChunks(Link& link);

  BackfillLedger ledger_;
  const SampleReader& read_;
  const BackfillOptions& options_;

  std::mutex mutex_;  // guards the members below, and calls of read_ and the callback
  std::map<std::int64_t, std::int64_t> known_;  // batches that are stored: beginning and end
  BackfillProgress progress_;
  BackfillReport report_;
  bool stopped_ = false;
  bool atEnd_ = false;
  std::exception_ptr failure_;
};

BackfillReport Run::Load(const std::vector<std::shared_ptr<Dbms>>& connections) {
  Prepare(*connections.front());
  std::vector<std::thread> threads;
  for (std::size_t i = 1; i < connections.size(); ++i) {
    threads.emplace_back([this, dbms = connections[i]] { LoadBatches(*dbms); });
  }
  LoadBatches(*connections.front());
  for (std::thread& thread : threads) thread.join();
  if (failure_) std::rethrow_exception(failure_);
  if (!stopped_) Finish(*connections.front());
  report_.counts = progress_.counts;
  report_.complete = !stopped_;
  return report_;
}

void Run::Prepare(Dbms& dbms) {
  Link link(dbms, kOperation);
  BackfillLedger::Create(link);
  known_ = ledger_.Batches(link);
  if (!ledger_.IsFinished(link)) {
    ledger_.KeepRefreshFrom(ledger_.RefreshFrom(link));
  } else if (HasAggregates(link)) {
    ledger_.KeepRefreshFrom(SafeRefreshStart(link));
  }
}

void Run::LoadBatches(Dbms& dbms) noexcept {
  try {
    Link link(dbms, kOperation);
    Batch batch;
    while (Take(batch)) Store(link, batch);
  } catch (...) {
    const std::lock_guard lock(mutex_);
    stopped_ = true;
    if (!failure_) failure_ = std::current_exception();
  }
}

// The next batch that is not stored.
bool Run::Take(Batch& batch) {
  const std::lock_guard lock(mutex_);
  if (stopped_ || atEnd_) return false;
  for (auto known = known_.find(progress_.position); known != known_.end();
       known = known_.find(progress_.position)) {
    progress_.position = known->second;
    ++report_.batchesBefore;
  }
  batch.samples.clear();
  batch.begins = progress_.position;
  const auto end = read_(batch.begins, batch.samples);
  atEnd_ = !end;
  if (atEnd_) return false;
  if (*end <= batch.begins) throw std::invalid_argument("a batch does not end after its beginning");
  batch.ends = progress_.position = *end;
  return true;
}

// Stores the rows and records the batch in the ledger; false when another run has done so meanwhile.
bool Run::TryToStore(Link& link, const CopyRows& copy, LedgerEntry& entry) {
  link.Run(kBegin);
  try {
    entry.stored = StoreRows(link, copy);
    entry.duplicates = copy.rows - entry.stored + copy.repeated;
    if (ledger_.Enter(link, entry)) {
      link.Run("COMMIT");
      return true;
    }
  } catch (...) {
    link.RollBack();
    throw;
  }
  link.RollBack();
  return false;
}

void Run::Store(Link& link, const Batch& batch) {
  const CopyRows copy = MakeCopyRows(batch.samples);
  LedgerEntry entry;
  entry.begins = batch.begins;
  entry.ends = batch.ends;
  entry.samples = static_cast<std::int64_t>(batch.samples.size());
  entry.leftOut = copy.leftOut;
  if (copy.rows > 0) {
    entry.oldest = copy.oldest;
    entry.newest = copy.newest;
  }
  for (int attempt = 1;; ++attempt) {
    try {
      const bool stored = TryToStore(link, copy, entry);
      return Count(entry, stored);
    } catch (const Error& error) {
      // Overlapping batches of several connections may deadlock.
      if (error.SqlState() != kDeadlock || attempt == kMostAttempts) throw;
    }
  }
}

void Run::Count(const LedgerEntry& entry, bool stored) {
  const std::lock_guard lock(mutex_);
  if (stored) {
    BackfillCounts& counts = progress_.counts;
    ++counts.batches;
    counts.samples += entry.samples;
    counts.stored += entry.stored;
    counts.duplicates += entry.duplicates;
    counts.leftOut += entry.leftOut;
  } else {
    ++report_.batchesBefore;
  }
  Progress();
}

void Run::Progress() {
  if (options_.progress && !options_.progress(progress_)) stopped_ = true;
}

void Run::Finish(Dbms& dbms) {
  Link link(dbms, kOperation);
  if (ledger_.IsFinished(link)) return;
  if (HasAggregates(link) && !FinishChunks(link)) return;
  ledger_.Finish(link);
}

// Returns false when the callback ended the run.
bool Run::FinishChunks(Link& link) {
  const auto safe = ledger_.RefreshFrom(link);
  const Result chunks = link.Run(kChunks, {ledger_.source()});
  progress_.chunks = chunks.size();
  for (int i = 0; i < chunks.size(); ++i) {
    const std::int64_t begin = chunks.Integer(i, 1), end = chunks.Integer(i, 2);
    if (safe && *safe > begin)
      report_.notRefreshedBefore = kYear2000 + std::chrono::hours(std::min(*safe, end));
    if (!safe || *safe < end) {
      RefreshAggregates(link, std::max(begin, safe.value_or(begin)), end);
      ++report_.chunksRefreshed;
    }
    if (chunks.Bool(i, 3)) {
      CompressAgain(link, std::string(chunks.Text(i, 0)));
      ++report_.chunksCompressed;
    }
    ++progress_.chunksDone;
    Progress();
    if (stopped_) return false;
  }
  return true;
}

}  // namespace

BackfillReport Backfill(const std::vector<std::shared_ptr<Dbms>>& connections, const std::string& source,
                        const SampleReader& read, const BackfillOptions& options) {
  if (connections.empty()) throw std::invalid_argument("no connection to load with");
  for (const auto& dbms : connections) {
    if (!dbms) throw std::invalid_argument("a connection is null");
  }
  return Run(source, read, options).Load(connections);
}

}  // namespace historian
