#pragma once

#include <httplib.h>

#include <string>
#include <vector>

#include "historian/Time.h"

namespace historian::command {

// Limits of a request.
constexpr std::size_t kMostTags = 12;
constexpr std::size_t kLongestTag = 500;  // bytes
constexpr int kMostBuckets = 4000;
constexpr int kMostYears = 50;

struct TimeRange {
  Time from, to;  // `to` does not belong to it
};

// The parameters of a request for data. All functions throw RequestRefused when a parameter is missing or
// exceeds its limits.
class Parameters {
 public:
  explicit Parameters(const httplib::Request& request) : request_(request) {}

  // The values of `tag` in their order, without repetitions.
  std::vector<std::string> Tags(std::size_t least = 1) const;
  // `from` and `to` in milliseconds since 1970.
  TimeRange Range() const;
  // A whole number; `usual` if the parameter is missing.
  int Number(const std::string& name, int least, int most, int usual) const;
  // Empty if the parameter is missing.
  std::string Text(const std::string& name) const { return request_.get_param_value(name); }

 private:
  const httplib::Request& request_;
};

}  // namespace historian::command
