#include "Parameters.h"

#include <algorithm>
#include <charconv>
#include <cstdint>

#include "../Text.h"
#include "Refused.h"

namespace historian::command {
namespace {

constexpr std::int64_t kYear = 31'556'952'000;  // milliseconds
// The years 1 and 9999; programs disagree about dates beyond these.
constexpr std::int64_t kFirst = -62'135'596'800'000;
constexpr std::int64_t kLast = 253'402'300'799'999;

std::int64_t Integer(const httplib::Request& request, const std::string& name, std::int64_t least,
                     std::int64_t most) {
  const std::string text = request.get_param_value(name);
  std::int64_t value = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), value);
  if (text.empty() || read.ec != std::errc() || read.ptr != text.data() + text.size() || value < least ||
      value > most)
    throw RequestRefused(kBadRequest, name + " must be a whole number from " + std::to_string(least) +
                                          " to " + std::to_string(most));
  return value;
}

}  // namespace

std::vector<std::string> Parameters::Tags(std::size_t least) const {
  std::vector<std::string> tags;
  for (std::size_t i = 0; i < request_.get_param_value_count("tag"); ++i) {
    const std::string tag = request_.get_param_value("tag", i);
    if (tag.empty() || tag.size() > kLongestTag || tag.find('\0') != tag.npos || !IsUtf8(tag))
      throw RequestRefused(kBadRequest,
                           "tag must be a name in UTF-8 of 1 to " + std::to_string(kLongestTag) + " bytes");
    if (std::find(tags.begin(), tags.end(), tag) == tags.end()) tags.push_back(tag);
  }
  if (tags.size() < least) throw RequestRefused(kBadRequest, "tag names none");
  if (tags.size() > kMostTags)
    throw RequestRefused(kTooLarge, "at most " + std::to_string(kMostTags) + " tags at the same time");
  return tags;
}

TimeRange Parameters::Range() const {
  const std::int64_t from = Integer(request_, "from", kFirst, kLast);
  const std::int64_t to = Integer(request_, "to", kFirst, kLast);
  if (to <= from) throw RequestRefused(kBadRequest, "the range ends before it begins");
  if (to - from > kMostYears * kYear)
    throw RequestRefused(kTooLarge, "at most " + std::to_string(kMostYears) + " years at the same time");
  return {Time(std::chrono::milliseconds(from)), Time(std::chrono::milliseconds(to))};
}

int Parameters::Number(const std::string& name, int least, int most, int usual) const {
  return request_.has_param(name) ? static_cast<int>(Integer(request_, name, least, most)) : usual;
}

}  // namespace historian::command
