#include "StatementCache.h"

namespace pq {
namespace {

constexpr std::size_t kMaxStatements = 64;

// Longer texts are inserts of many rows. They seldom come again, and are neither hashed nor kept.
constexpr std::size_t kMaxTextSize = 2000;

}  // namespace

void Statement::Release() noexcept {
  if (const auto list = released.lock()) list->splice(list->end(), name);
  name.clear();
  released.reset();
}

void Statement::Forget() noexcept {
  Release();
  types.clear();
}

std::shared_ptr<Statement> StatementCache::Get(std::wstring_view text) {
  if (text.size() > kMaxTextSize) return std::make_shared<Statement>(ReplaceMarkers(text));
  if (const auto found = byText_.find(text); found != byText_.end()) {
    entries_.splice(entries_.begin(), entries_, found->second);
    return found->second->statement;
  }
  auto statement = std::make_shared<Statement>(ReplaceMarkers(text));
  if (!statement->HasParameters()) return statement;
  entries_.push_front({std::wstring(text), statement});
  byText_[entries_.front().text] = entries_.begin();
  if (entries_.size() > kMaxStatements) {
    byText_.erase(entries_.back().text);
    entries_.pop_back();
  }
  return statement;
}

}  // namespace pq
