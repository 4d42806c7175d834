#include "historian/Ranges.h"

#include <algorithm>

namespace historian {

std::int64_t Floor(std::int64_t time, std::int64_t unit) {
  const std::int64_t over = time % unit;
  return over == 0 ? time : time - over - (over < 0 ? unit : 0);
}

std::int64_t Ceiling(std::int64_t time, std::int64_t unit) {
  const std::int64_t floor = Floor(time, unit);
  return floor == time ? time : floor + unit;
}

Ranges::Ranges(std::vector<Range> ranges) {
  std::erase_if(ranges, [](const Range& range) { return range.Empty(); });
  std::sort(ranges.begin(), ranges.end(), [](const Range& a, const Range& b) { return a.begin < b.begin; });
  for (const Range& range : ranges) {
    if (ranges_.empty() || range.begin > ranges_.back().end) {
      ranges_.push_back(range);
    } else {
      ranges_.back().end = std::max(ranges_.back().end, range.end);
    }
  }
}

Ranges Ranges::All() { return Ranges({{kEarliest, kLatest}}); }

Ranges Ranges::And(const Ranges& other) const {
  std::vector<Range> common;
  auto a = begin(), b = other.begin();
  while (a != end() && b != other.end()) {
    common.push_back({std::max(a->begin, b->begin), std::min(a->end, b->end)});
    a->end < b->end ? ++a : ++b;
  }
  return Ranges(std::move(common));
}

Ranges Ranges::Minus(const Ranges& other) const {
  std::vector<Range> rest;
  std::int64_t last = kEarliest;
  for (const Range& range : other) {
    rest.push_back({last, range.begin});
    last = range.end;
  }
  rest.push_back({last, kLatest});
  return And(Ranges(std::move(rest)));
}

Ranges Ranges::Outward(std::int64_t unit) const {
  std::vector<Range> grown;
  for (const auto& [first, last] : ranges_) {
    // A bound at infinity is not rounded.
    grown.push_back({first < kEarliest + unit ? kEarliest : Floor(first, unit),
                     last > kLatest - unit ? kLatest : Ceiling(last, unit)});
  }
  return Ranges(std::move(grown));
}

Ranges Ranges::Inward(std::int64_t unit) const {
  std::vector<Range> shrunk;
  for (const auto& [first, last] : ranges_) {
    shrunk.push_back({first < kEarliest + unit ? kEarliest : Ceiling(first, unit),
                      last > kLatest - unit ? kLatest : Floor(last, unit)});
  }
  return Ranges(std::move(shrunk));
}

Ranges Ranges::Merged(std::size_t most) const {
  if (size() <= most) return *this;
  std::vector<Range> gaps;
  for (std::size_t i = 1; i < size(); ++i) gaps.push_back({ranges_[i - 1].end, ranges_[i].begin});
  const auto length = [](const Range& gap) { return gap.end - gap.begin; };
  std::sort(gaps.begin(), gaps.end(), [&](const Range& a, const Range& b) { return length(a) < length(b); });
  gaps.resize(size() - std::max<std::size_t>(most, 1));
  gaps.insert(gaps.end(), begin(), end());
  return Ranges(std::move(gaps));
}

}  // namespace historian
