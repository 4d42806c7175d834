#pragma once

#include <cstdint>
#include <functional>
#include <optional>
#include <queue>
#include <vector>

namespace plant {

// The 99th percentile of values by nearest rank: the smallest of them that at least 99 in 100 do not exceed.
// Only the highest can be it, so no more than one value in a hundred is kept.
class Percentile99 {
 public:
  // Takes up to so many values.
  explicit Percentile99(std::uint64_t most_values);

  void Add(double value);

  // Nothing as long as there is no value.
  std::optional<double> Value() const;

 private:
  std::uint64_t most_kept_;
  std::uint64_t values_ = 0;
  std::priority_queue<double, std::vector<double>, std::greater<>> highest_;  // the smallest of them on top
};

}  // namespace plant
