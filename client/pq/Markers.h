#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pq {

// A statement as libpq takes it. Its parameters are first the numbered ones in ascending order, then the
// named ones in order of appearance.
struct MarkedStatement {
  std::string text;  // UTF-8, markers replaced: parameter k (from 0) is $k+1
  std::vector<int> numbers;
  std::vector<std::wstring> named;

  bool HasParameters() const { return !numbers.empty() || !named.empty(); }

  // The index of a parameter among the numbered ones; numbers.size() when there is none.
  std::size_t IndexOf(int number) const;
};

// Finds the markers (`:1`, `:name`) of a statement, which may repeat. Not markers: colons inside '...' and
// E'...' strings, "identifiers", $tag$...$tag$, -- and /* */ comments (nested), and the cast `::type`.
// One linear pass.
MarkedStatement ReplaceMarkers(std::wstring_view statement);

}  // namespace pq
