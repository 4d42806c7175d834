#pragma once

#include <cstddef>
#include <utility>

namespace pq {

// An unsigned number in network order, the most significant byte first. Without a loop, so that compilers
// make one load of it.
template <class Unsigned>
Unsigned FromNetwork(const char* bytes) {
  const auto join = [&]<std::size_t... i>(std::index_sequence<i...>) {
    return (... | (Unsigned{static_cast<unsigned char>(bytes[i])} << 8 * (sizeof(Unsigned) - 1 - i)));
  };
  return static_cast<Unsigned>(join(std::make_index_sequence<sizeof(Unsigned)>()));
}

// The same as one store.
template <class Unsigned>
void ToNetwork(Unsigned value, char* bytes) {
  const auto split = [&]<std::size_t... i>(std::index_sequence<i...>) {
    ((bytes[i] = static_cast<char>(value >> 8 * (sizeof(Unsigned) - 1 - i))), ...);
  };
  split(std::make_index_sequence<sizeof(Unsigned)>());
}

}  // namespace pq
