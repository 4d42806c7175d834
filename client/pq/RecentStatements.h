#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Markers.h"

namespace pq {

// The statements with markers that a session saw last. Operations repeat their texts, and finding the markers
// of a short one takes longer than all else that is done for it on this side.
class RecentStatements {
 public:
  // The statement of a text; valid also when it is forgotten here.
  std::shared_ptr<const MarkedStatement> Get(std::wstring_view text);

 private:
  struct Entry {
    std::wstring text;
    std::shared_ptr<const MarkedStatement> statement;
  };

  void Remember(std::wstring_view text, std::shared_ptr<const MarkedStatement> statement);

  std::vector<Entry> entries_;
  std::size_t next_ = 0;  // to be replaced, once there are enough
};

}  // namespace pq
