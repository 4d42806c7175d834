#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Pool.h"
#include "historian/Trend.h"

namespace historian::command {

// A cached list of the tags. Reading it may take long, so one request reads it for all, and not often.
class TagList {
 public:
  using Tags = std::shared_ptr<const std::vector<TagInfo>>;
  explicit TagList(Pool& pool) : pool_(pool) {}

  Tags Get();

 private:
  using Clock = std::chrono::steady_clock;

  Tags Fresh();

  Pool& pool_;
  std::mutex reading_;  // held while the tags are read
  std::mutex mutex_;    // guards the members below
  Tags tags_;
  Clock::time_point stale_from_;
};

// The tags that contain every word of a text, ignoring case. Tags that begin with its first word come first;
// otherwise the order is kept.
std::vector<TagInfo> FindTags(const std::vector<TagInfo>& tags, const std::string& text);

}  // namespace historian::command
