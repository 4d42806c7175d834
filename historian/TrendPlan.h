#pragma once

#include <cstdint>
#include <vector>

#include "historian/Ranges.h"

namespace historian {

// Where values of tag history come from.
enum class Store { Samples, Minutes, Hours };  // datalog, datalog_1m, datalog_1h

// Milliseconds of what a row of the store covers; 1 for a sample.
std::int64_t Unit(Store store);

// What an aggregate holds.
struct AggregateCoverage {
  Ranges stored;  // where it has rows, up to date or not
  Ranges stale;   // where samples were added or removed after its last refresh
};

// What the database holds of tag history. Internal: not installed.
struct Coverage {
  Ranges samples = Ranges::All();
  AggregateCoverage minutes, hours;

  const Ranges& Stored(Store store) const;
  // The whole units that need no look at the samples.
  Ranges UpToDate(Store store) const;
};

// A part of a request that one store answers.
struct Segment {
  Store store = Store::Samples;
  Range range;
  bool samplesStored = true;  // whether the samples of the range are there too

  friend bool operator==(const Segment&, const Segment&) = default;
};

// Splits a range into segments, in ascending order. Each instant goes to the first of the stores given that
// is up to date there; to the samples where none is; to an outdated aggregate where the samples are gone,
// too. What nothing is stored of is left out. Segments of an aggregate are whole units.
std::vector<Segment> Split(const Coverage& coverage, const Range& range, const std::vector<Store>& stores);

// The buckets of a trend: as many as asked for, or fewer, of equal width.
struct Buckets {
  Store store = Store::Samples;  // the coarsest whose unit fits the width, of those that the database has
  std::int64_t origin = 0;       // where the first begins; not after the range
  std::int64_t width = 1;        // a multiple of the store's unit
};

Buckets ChooseBuckets(const Coverage& coverage, const Range& range, int most);

}  // namespace historian
