#include "StatementCache.h"

#include <algorithm>
#include <utility>

#include "Text.h"

namespace pq {
namespace {

constexpr std::size_t kMaxStatements = 64;

// Longer texts are inserts of many rows, which seldom come again.
constexpr std::size_t kMaxTextSize = 2000;

}  // namespace

Statement::Statement(SAString wide)
    : MarkedStatement(ReplaceMarkers(View(wide))), wideText(std::move(wide)) {}

std::vector<SAParam> Statement::MakeParameters() const {
  std::vector<SAParam> parameters;
  parameters.reserve(numbers.size() + named.size());
  for (const int number : numbers) parameters.emplace_back(number);
  for (const std::wstring& one : named) parameters.emplace_back(SAString(one));
  return parameters;
}

void Statement::Release() noexcept {
  if (const auto list = released.lock()) list->splice(list->end(), name);
  name.clear();
  released.reset();
}

void Statement::Forget() noexcept {
  Release();
  types.clear();
}

std::shared_ptr<Statement> StatementCache::Find(std::wstring_view text) {
  const auto found = std::find_if(statements_.begin(), statements_.end(),
                                  [&](const auto& one) { return View(one->wideText) == text; });
  if (found == statements_.end()) return nullptr;
  std::rotate(statements_.begin(), found, found + 1);
  return statements_.front();
}

std::shared_ptr<Statement> StatementCache::Get(SAString text) {
  if (auto found = Find(View(text))) return found;
  const auto statement = std::make_shared<Statement>(std::move(text));
  if (statement->HasParameters() && statement->wideText.GetLength() <= kMaxTextSize) {
    statements_.insert(statements_.begin(), statement);
    if (statements_.size() > kMaxStatements) statements_.pop_back();
  }
  return statement;
}

}  // namespace pq
