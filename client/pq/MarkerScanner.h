#pragma once

#include <cstddef>
#include <string_view>
#include <vector>

namespace pq {

// The place of a marker in a statement.
struct Marker {
  std::size_t at;      // of the colon
  std::size_t length;  // with the colon
  int number;          // -1 for a named one
  bool needsBlank;     // the character before it may be part of a name, which `$` would continue
};

// The markers of a statement in UTF-8, in the order of their appearance. Markers.h lists what is not a
// marker.
std::vector<Marker> FindMarkers(std::string_view statement);

}  // namespace pq
