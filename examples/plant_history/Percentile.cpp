#include "Percentile.h"

namespace plant {
namespace {

// Which of the values it is, counted from the highest.
std::uint64_t RankFromAbove(std::uint64_t values) { return values / 100 + 1; }

}  // namespace

Percentile99::Percentile99(std::uint64_t most_values) : most_kept_(RankFromAbove(most_values)) {}

void Percentile99::Add(double value) {
  ++values_;
  highest_.push(value);
  if (highest_.size() > most_kept_) highest_.pop();
}

std::optional<double> Percentile99::Value() const {
  if (values_ == 0) return {};
  auto highest = highest_;
  while (highest.size() > RankFromAbove(values_)) highest.pop();
  return highest.top();
}

}  // namespace plant
