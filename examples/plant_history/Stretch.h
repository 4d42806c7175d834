#pragma once

#include <cstdint>
#include <map>
#include <vector>

namespace plant {

// A stretch of time in epoch seconds; its end does not belong to it.
struct Stretch {
  std::int64_t from = 0;
  std::int64_t to = 0;
  std::uint64_t rows = 0;  // that the file has in it, or about so many
  bool operator==(const Stretch&) const = default;
};

// The hours in which a file has rows. They tell how to go through its time in stretches that are neither
// empty nor fuller than memory should be, in whatever order the file itself is.
class OccupiedHours {
 public:
  void Add(std::int64_t time_ms);

  // Stretches in the order of time, with about so many rows each: hours of few rows are taken together unless
  // more than a day lies between them, an hour of many is cut into equal parts.
  std::vector<Stretch> Divide(std::uint64_t rows) const;

 private:
  std::map<std::int64_t, std::uint64_t> rows_;  // by the hour's first second
};

}  // namespace plant
