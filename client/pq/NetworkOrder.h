#pragma once

#include <cstddef>

namespace pq {

// An unsigned number in network order, the most significant byte first.
template <class Unsigned>
Unsigned FromNetwork(const char* bytes) {
  unsigned long long value = 0;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return static_cast<Unsigned>(value);
}

}  // namespace pq
