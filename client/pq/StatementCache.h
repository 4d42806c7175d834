#pragma once

#include <list>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "Markers.h"
#include "SQLAPI.h"

namespace pq {

// Names of prepared statements. A list, because moving a name from one to another needs no memory.
using PreparedNames = std::list<std::string>;

// A statement's text, and its state at the server.
struct Statement : MarkedStatement {
  explicit Statement(SAString wide);
  ~Statement() { Release(); }
  Statement(const Statement&) = delete;
  Statement& operator=(const Statement&) = delete;

  // Makes the server parse the statement again at its next execution. If it was prepared, its name is queued
  // for deallocation.
  void Release() noexcept;
  // The same, and forgets the types of the parameters.
  void Forget() noexcept;

  // Unbound parameters: first the numbered ones in ascending order, then the named ones.
  std::vector<SAParam> MakeParameters() const;

  const SAString wideText;

  // Set by the connection that executes the statement: its list of names to deallocate. Expired unless the
  // server has parsed the statement.
  std::weak_ptr<PreparedNames> released;
  std::vector<unsigned> types;  // of the parameters, when it was last parsed
  PreparedNames name;           // at the server; empty before the second execution
};

// The most recently used statements with parameters, by their text. For a short statement, finding the
// markers takes longer than all other work of the client, and parsing it takes half the server's time.
class StatementCache {
 public:
  // Returns the statement of a text. An evicted statement stays valid; its name is released with its last
  // owner.
  std::shared_ptr<Statement> Get(SAString text);
  // The same; null if the statement is not kept.
  std::shared_ptr<Statement> Find(std::wstring_view text);

 private:
  std::vector<std::shared_ptr<Statement>> statements_;  // the most recently used first
};

}  // namespace pq
