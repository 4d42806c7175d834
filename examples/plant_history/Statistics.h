#pragma once

#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

namespace plant {

// What one tag did between two instants: its figures, and its course as the means of equal spans of time.
class TagCourse {
 public:
  // Both instants belong to the course.
  TagCourse(std::int64_t from_ms, std::int64_t to_ms);

  void Add(std::int64_t time_ms, std::optional<double> value);

  std::uint64_t samples() const { return values_ + gaps_; }
  std::uint64_t values() const { return values_; }
  std::uint64_t gaps() const { return gaps_; }  // samples without a value

  // Of the samples that have a value; meaningful when there is one.
  std::int64_t first_ms() const { return first_ms_; }
  std::int64_t last_ms() const { return last_ms_; }
  double smallest() const { return smallest_; }
  double largest() const { return largest_; }
  double last() const { return last_; }
  double Mean() const;

  // The course in so many parts: the mean of each, nothing where a part has no value.
  std::vector<std::optional<double>> Means(std::size_t parts) const;

 private:
  struct Span {
    long double sum = 0;
    std::uint64_t count = 0;
  };

  std::int64_t from_ms_;
  std::int64_t to_ms_;
  std::vector<Span> spans_;
  std::uint64_t values_ = 0;
  std::uint64_t gaps_ = 0;
  std::int64_t first_ms_ = std::numeric_limits<std::int64_t>::max();
  std::int64_t last_ms_ = std::numeric_limits<std::int64_t>::min();
  double smallest_ = std::numeric_limits<double>::infinity();
  double largest_ = -std::numeric_limits<double>::infinity();
  double last_ = 0;
  long double sum_ = 0;
};

// Values drawn in eighths of a line's height, ▁ the smallest and █ the largest; a blank where there is none,
// ▄ throughout when all are equal.
std::string Sparkline(const std::vector<std::optional<double>>& values);

}  // namespace plant
