#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace pq {

// The place of a marker in a statement.
struct Marker {
  std::size_t at;      // of the colon
  std::size_t length;  // with the colon
  bool needsBlank;     // follows a character of a name, which `$` would continue
};

// The markers of a statement in UTF-8, in the order of their appearance; see Markers.h for what is none.
std::vector<Marker> FindMarkers(std::string_view statement);

}  // namespace pq
