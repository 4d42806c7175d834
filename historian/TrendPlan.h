#pragma once

#include <cstdint>
#include <vector>

#include "historian/Ranges.h"

namespace historian {

// Where values of tag history come from.
enum class Store { Samples, Minutes, Hours };  // datalog, datalog_1m, datalog_1h

// The milliseconds that a row of the store covers; 1 for a sample.
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
  // The whole units that can be read without looking at the samples.
  Ranges UpToDate(Store store) const;
};

// A part of a request that one store answers.
struct Segment {
  Store store = Store::Samples;
  Range range;
  bool samplesStored = true;  // whether the samples of the range are there too

  friend bool operator==(const Segment&, const Segment&) = default;
};

// Splits a range into segments, in ascending order. Each instant is read from the first of `stores` that is
// up to date there; where none is, from the samples; where these are gone too, from an outdated aggregate.
// Instants for which nothing is stored are left out. Segments of an aggregate are whole units.
std::vector<Segment> Split(const Coverage& coverage, const Range& range, const std::vector<Store>& stores);

// The buckets of a trend: as many as asked for, or fewer, of equal width.
struct Buckets {
  Store store = Store::Samples;  // the coarsest store with data whose unit fits the width
  std::int64_t origin = 0;       // where the first bucket begins, at or before the range
  std::int64_t width = 1;        // a multiple of the store's unit
};

Buckets ChooseBuckets(const Coverage& coverage, const Range& range, int most);

}  // namespace historian
