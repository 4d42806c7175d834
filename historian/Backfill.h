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

// Reads a source batch by batch. Appends the samples of the batch at `position` and returns the position of
// the next batch, which must be greater, or nothing at the end of the source. The first position is 0; what
// the others mean is up to the source, for instance an offset in a file. The same position must always give
// the same samples. A batch is stored by one transaction; 100,000 samples are a good size.
using SampleReader =
    std::function<std::optional<std::int64_t>(std::int64_t position, std::vector<LogSample>& samples)>;

// Samples counted: samples = stored + duplicates + leftOut.
struct BackfillCounts {
  std::int64_t batches = 0;
  std::int64_t samples = 0;
  std::int64_t stored = 0;
  std::int64_t duplicates = 0;  // tag and time were stored already, or occurred earlier in the source
  std::int64_t leftOut = 0;     // a time below 1 ms, no tag name, or a value that is not finite
};

struct BackfillProgress {
  BackfillCounts counts;        // of this run
  std::int64_t position = 0;    // where the next batch begins
  std::int64_t chunks = 0;      // chunks that hold the samples; 0 until all samples are stored
  std::int64_t chunksDone = 0;  // their aggregates are refreshed, and they are compressed again if they were
};

struct BackfillReport {
  BackfillCounts counts;             // of this run
  std::int64_t batchesBefore = 0;    // skipped, because earlier runs stored them
  bool complete = false;             // all samples are stored, aggregates refreshed, chunks compressed
  std::int64_t chunksRefreshed = 0;  // of this run; 0 without TimescaleDB
  std::int64_t chunksCompressed = 0;
  // Aggregates before this instant were not refreshed: their raw samples are gone, so a refresh would have
  // removed them.
  std::optional<Time> notRefreshedBefore;
};

struct BackfillOptions {
  // Called after each batch and each chunk. False stops the run there; the next one continues.
  std::function<bool(const BackfillProgress&)> progress;
};

// Loads the samples of a source into tag history, for years of old data. Stores the same rows as
// InsertLogData; of several samples with the same tag and time in a batch, the first is kept.
//
// `source` names the data in the table historian_backfill, which records the batches that are stored. Calling
// Backfill again continues a run that was interrupted at any point, and loads what was added to a source
// since. Sources of different names are independent. Several connections load batches at the same time, each
// on a thread of its own; give each object only once. `read` and the progress callback are then called by one
// thread at a time, but not always the same one. If different batches have samples of the same tag and time,
// any of these may be kept then; with one connection it is the first.
//
// With TimescaleDB, Backfill then refreshes the aggregates over the range of the new samples, and compresses
// again the chunks in it that were compressed.
//
// Throws Error when the server fails, std::invalid_argument for misuse, and what `read` and the callback
// throw. The current batch is then not stored at all.
HISTORIAN_EXPORT BackfillReport Backfill(const std::vector<std::shared_ptr<Dbms>>& connections,
                                         const std::string& source, const SampleReader& read,
                                         const BackfillOptions& options = {});

}  // namespace historian
