#include "Statistics.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>

namespace plant {
namespace {

constexpr std::size_t kSpans = 240;  // that are kept of a course; parts to be shown are made of them

constexpr std::array<std::string_view, 8> kBlocks = {"▁", "▂", "▃", "▄", "▅", "▆", "▇", "█"};
constexpr std::string_view kFlat = kBlocks[3];

}  // namespace

TagCourse::TagCourse(std::int64_t from_ms, std::int64_t to_ms)
    : from_ms_(from_ms), to_ms_(std::max(from_ms, to_ms)), spans_(kSpans) {}

void TagCourse::Add(std::int64_t time_ms, std::optional<double> value) {
  if (!value) {
    ++gaps_;
    return;
  }
  ++values_;
  sum_ += *value;
  smallest_ = std::min(smallest_, *value);
  largest_ = std::max(largest_, *value);
  first_ms_ = std::min(first_ms_, time_ms);
  if (time_ms >= last_ms_) {
    last_ms_ = time_ms;
    last_ = *value;
  }
  if (time_ms < from_ms_ || time_ms > to_ms_) return;
  const double share = static_cast<double>(time_ms - from_ms_) / (static_cast<double>(to_ms_ - from_ms_) + 1);
  Span& span = spans_[static_cast<std::size_t>(share * static_cast<double>(spans_.size()))];
  span.sum += *value;
  ++span.count;
}

double TagCourse::Mean() const { return static_cast<double>(sum_ / static_cast<long double>(values_)); }

std::vector<std::optional<double>> TagCourse::Means(std::size_t parts) const {
  std::vector<Span> sums(parts);
  for (std::size_t i = 0; parts != 0 && i < spans_.size(); ++i) {
    Span& part = sums[i * parts / spans_.size()];
    part.sum += spans_[i].sum;
    part.count += spans_[i].count;
  }
  std::vector<std::optional<double>> means;
  for (const Span& part : sums) {
    means.emplace_back();
    if (part.count != 0) means.back() = static_cast<double>(part.sum / static_cast<long double>(part.count));
  }
  return means;
}

std::string Sparkline(const std::vector<std::optional<double>>& values) {
  double smallest = std::numeric_limits<double>::infinity();
  double largest = -smallest;
  for (const auto& value : values) {
    if (!value) continue;
    smallest = std::min(smallest, *value);
    largest = std::max(largest, *value);
  }
  std::string line;
  for (const auto& value : values) {
    if (!value) {
      line += ' ';
    } else if (smallest == largest) {
      line += kFlat;
    } else {
      // Halved, so that the span of the largest doubles does not overflow.
      const double height = (*value / 2 - smallest / 2) / (largest / 2 - smallest / 2);
      line += kBlocks[static_cast<std::size_t>(std::lround(height * (kBlocks.size() - 1)))];
    }
  }
  return line;
}

}  // namespace plant
