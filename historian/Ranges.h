#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <vector>

namespace historian {

// The bounds of Ranges::All().
constexpr std::int64_t kEarliest = std::numeric_limits<std::int64_t>::min();
constexpr std::int64_t kLatest = std::numeric_limits<std::int64_t>::max();

// A half-open range of times in epoch milliseconds: `begin` belongs to it, `end` does not.
struct Range {
  std::int64_t begin = 0, end = 0;

  bool Empty() const { return begin >= end; }
  friend bool operator==(const Range&, const Range&) = default;
};

// The largest multiple of unit that is not above time, and the smallest that is not below.
std::int64_t Floor(std::int64_t time, std::int64_t unit);
std::int64_t Ceiling(std::int64_t time, std::int64_t unit);

// A set of times: ranges in ascending order that neither overlap nor touch. Internal: not installed.
class Ranges {
 public:
  Ranges() = default;
  explicit Ranges(std::vector<Range> ranges);  // in any order, overlapping or not
  static Ranges All();

  bool Empty() const { return ranges_.empty(); }
  auto begin() const { return ranges_.begin(); }
  auto end() const { return ranges_.end(); }
  std::size_t size() const { return ranges_.size(); }

  Ranges And(const Ranges& other) const;
  Ranges Minus(const Ranges& other) const;
  Ranges Outward(std::int64_t unit) const;  // each range extended to whole units
  Ranges Inward(std::int64_t unit) const;   // each range reduced to the whole units inside
  // Closes the shortest gaps until no more than `most` ranges are left.
  Ranges Merged(std::size_t most) const;

  friend bool operator==(const Ranges&, const Ranges&) = default;

 private:
  std::vector<Range> ranges_;
};

}  // namespace historian
