#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace pq {

// A statement as libpq takes it.
struct MarkedStatement {
  std::string text;  // UTF-8, markers replaced: parameter k (from 0) is $k+1
  std::vector<std::wstring>
      names;                 // of the parameters: numbered ones ascending, then named ones by appearance
  std::vector<int> numbers;  // of the numbered parameters
};

// Finds the markers (`:1`, `:name`) of a statement, which may repeat. Not markers: colons inside '...' and
// E'...' strings, "identifiers", $tag$...$tag$, -- and /* */ comments (nested), and the cast `::type`.
// One linear pass.
MarkedStatement ReplaceMarkers(std::wstring_view statement);

}  // namespace pq
