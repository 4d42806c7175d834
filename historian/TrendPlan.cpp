#include "historian/TrendPlan.h"

#include <algorithm>
#include <iterator>

namespace historian {
namespace {

// Limits the segments, each of which takes a statement. Beyond that, up-to-date units between outdated ones
// are read as samples.
constexpr std::size_t kMostOutdated = 32;

// Moves what a store covers from the rest to the segments.
void Take(Store store, const Ranges& covered, const Ranges& samples, Ranges& rest,
          std::vector<Segment>& segments) {
  const Ranges taken = rest.And(covered).Inward(Unit(store));
  rest = rest.Minus(taken);
  for (const Range& range : taken.And(samples)) segments.push_back({store, range, true});
  for (const Range& range : taken.Minus(samples)) segments.push_back({store, range, false});
}

}  // namespace

std::int64_t Unit(Store store) {
  switch (store) {
    case Store::Samples: return 1;
    case Store::Minutes: return 60'000;
    case Store::Hours: return 3'600'000;
  }
  return 1;
}

const Ranges& Coverage::Stored(Store store) const {
  if (store == Store::Samples) return samples;
  return store == Store::Minutes ? minutes.stored : hours.stored;
}

Ranges Coverage::UpToDate(Store store) const {
  if (store == Store::Samples) return samples;
  const AggregateCoverage& aggregate = store == Store::Minutes ? minutes : hours;
  return aggregate.stored.Minus(aggregate.stale.Outward(Unit(store)).Merged(kMostOutdated))
      .Inward(Unit(store));
}

std::vector<Segment> Split(const Coverage& coverage, const Range& range, const std::vector<Store>& stores) {
  std::vector<Segment> segments;
  Ranges rest({range});
  for (const Store store : stores) Take(store, coverage.UpToDate(store), coverage.samples, rest, segments);
  std::vector<Store> leftOver = {Store::Samples};
  leftOver.insert(leftOver.end(), stores.begin(), stores.end());
  leftOver.insert(leftOver.end(), {Store::Minutes, Store::Hours});
  for (const Store store : leftOver) {
    Take(store, coverage.Stored(store), coverage.samples, rest, segments);
  }
  std::sort(segments.begin(), segments.end(),
            [](const Segment& a, const Segment& b) { return a.range.begin < b.range.begin; });
  return segments;
}

Buckets ChooseBuckets(const Coverage& coverage, const Range& range, int most) {
  const std::int64_t least = (range.end - range.begin + most - 1) / most;
  Buckets buckets;
  for (const Store store : {Store::Minutes, Store::Hours}) {
    if (least >= Unit(store) && !coverage.Stored(store).Empty()) buckets.store = store;
  }
  const std::int64_t unit = Unit(buckets.store);
  buckets.origin = Floor(range.begin, unit);
  buckets.width = Ceiling((range.end - buckets.origin + most - 1) / most, unit);
  return buckets;
}

}  // namespace historian
