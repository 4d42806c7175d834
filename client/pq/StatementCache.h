#pragma once

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "Markers.h"

namespace pq {

// Names of prepared statements. A list, because moving a name from one to another needs no memory.
using PreparedNames = std::list<std::string>;

// A statement's text, and what the server knows of it.
struct Statement : MarkedStatement {
  explicit Statement(MarkedStatement marked) : MarkedStatement(std::move(marked)) {}
  ~Statement() { Release(); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Makes the next execution parse the statement. A name that the server knows is left to be deallocated.
  void Release() noexcept;
  // The same, for new types of its parameters, too.
  void Forget() noexcept;

  // Set by the connection that executes the statement: where it collects the names to be deallocated. This
  // has expired when the server knows nothing of the statement.
  std::weak_ptr<PreparedNames> released;
  std::vector<unsigned> types;  // of the parameters that it was parsed for last
  PreparedNames name;           // at the server: none before the second execution
};

// The statements with parameters that were used last, by their text. Operations repeat their texts: finding
// the markers again would take longer than everything else the client does for a short statement, and parsing
// it again would double the time of the server.
class StatementCache {
 public:
  // The statement of a text. It stays valid when it is evicted; its name is released when nobody holds it any
  // more.
  std::shared_ptr<Statement> Get(std::wstring_view text);

 private:
  struct Entry {
    std::wstring text;
    std::shared_ptr<Statement> statement;
  };

  std::list<Entry> entries_;  // the most recently used first
  std::unordered_map<std::wstring_view, std::list<Entry>::iterator> byText_;
};

}  // namespace pq
