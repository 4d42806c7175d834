#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"
#include "historian/Export.h"
#include "historian/Time.h"

namespace historian {

// Gives the samples of a source batch by batch: appends those that begin at a position and returns where the
// next batch begins, which must be greater, or nothing at the source's end. The first position is 0; what a
// position means is up to the source, an offset in a file for instance. The same position must give the same
// samples whenever it is asked for. A batch is stored by one transaction; 100,000 samples are a good size.
using SampleReader =
    std::function<std::optional<std::int64_t>(std::int64_t position, std::vector<LogSample>& samples)>;

// Samples counted: samples = stored + duplicates + leftOut.
struct BackfillCounts {
  std::int64_t batches = 0;
  std::int64_t samples = 0;
  std::int64_t stored = 0;
  std::int64_t duplicates = 0;  // their tag and time are stored already, or an earlier sample has them
  std::int64_t leftOut = 0;     // without a time of 1 ms or later, a tag name or a finite value
};

struct BackfillProgress {
  BackfillCounts counts;        // of this run
  std::int64_t position = 0;    // up to here the source has been read
  std::int64_t chunks = 0;      // that the samples lie in; 0 until all samples are stored
  std::int64_t chunksDone = 0;  // whose aggregates are refreshed, and which are compressed again if they were
};

struct BackfillReport {
  BackfillCounts counts;             // of this run
  std::int64_t batchesBefore = 0;    // passed over: earlier runs have stored them
  bool complete = false;             // all samples are stored, aggregates refreshed, chunks compressed
  std::int64_t chunksRefreshed = 0;  // of this run; 0 without TimescaleDB
  std::int64_t chunksCompressed = 0;
  // Aggregates from before this instant were left as they are: the raw samples that they were made of are
  // gone, and refreshing would have removed them.
  std::optional<Time> notRefreshedBefore;
};

struct BackfillOptions {
  // Called after each batch and each chunk. False stops the run there; the next one continues.
  std::function<bool(const BackfillProgress&)> progress;
};

// Loads the samples of a source into tag history, for years of old data. What is stored is what InsertLogData
// stores of the same samples; of several samples with one tag and time in a batch the first is kept.
//
// `source` names the data in the table historian_backfill, which knows what batches are stored: a run that
// was interrupted, however hard, is continued by calling this again, and a source that has grown is continued
// where it ended. Sources of different names are independent. Several connections load batches at the same
// time, each on a thread of its own; an object may be given once only. `read` and the progress callback are
// then called by one thread at a time, not always the same. Of one tag and time in different batches, any may
// be kept then; with one connection it is the first.
//
// With TimescaleDB the aggregates are refreshed in the end over the range of the new samples, and the chunks
// in it that were compressed are compressed again.
//
// Throws Error when the server fails, std::invalid_argument for misuse, and what `read` and the callback
// throw. Nothing of the batch at hand is stored then.
HISTORIAN_EXPORT BackfillReport Backfill(const std::vector<std::shared_ptr<Dbms>>& connections,
                                         const std::string& source, const SampleReader& read,
                                         const BackfillOptions& options = {});

}  // namespace historian
