#pragma once

#include <chrono>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "Pool.h"
#include "historian/Trend.h"

namespace historian::command {

// The tags there are. Reading them may take long, so one request does it for all, and not often.
class TagList {
 public:
  using Tags = std::shared_ptr<const std::vector<TagInfo>>;
  explicit TagList(Pool& pool) : pool_(pool) {}

  Tags Get();

 private:
  using Clock = std::chrono::steady_clock;

  Tags Fresh();

  Pool& pool_;
  std::mutex reading_;  // held while they are read
  std::mutex mutex_;    // of what follows
  Tags tags_;
  Clock::time_point stale_from_;
};

// The tags that hold every word of a text, in upper or lower case: those that begin with the text first, then
// by name.
std::vector<TagInfo> FindTags(const std::vector<TagInfo>& tags, const std::string& text);

}  // namespace historian::command
