#include "RecentStatements.h"

#include <utility>

namespace pq {
namespace {

constexpr std::size_t kMost = 16;
constexpr std::size_t kLongestText = 1000;  // longer ones are made of many rows, and hardly come again

}  // namespace

std::shared_ptr<const MarkedStatement> RecentStatements::Get(std::wstring_view text) {
  for (const Entry& entry : entries_) {
    if (entry.text == text) return entry.statement;
  }
  auto statement = std::make_shared<const MarkedStatement>(ReplaceMarkers(text));
  const bool hasMarkers = !statement->numbers.empty() || !statement->named.empty();
  if (hasMarkers && text.size() <= kLongestText) Remember(text, statement);
  return statement;
}

void RecentStatements::Remember(std::wstring_view text, std::shared_ptr<const MarkedStatement> statement) {
  Entry entry{std::wstring(text), std::move(statement)};
  if (entries_.size() < kMost) {
    entries_.push_back(std::move(entry));
  } else {
    entries_[next_] = std::move(entry);
    next_ = (next_ + 1) % kMost;
  }
}

}  // namespace pq
