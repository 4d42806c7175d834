#pragma once

// Shared by the fuzz targets. A target is a function that takes any bytes and ends the process when a
// property does not hold. With the preset fuzz libFuzzer chooses the bytes; otherwise Replay.cpp reads them
// from files.

#include <bit>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace fuzz {

// Ends the process unless the property holds.
#define REQUIRE(...)                                                                        \
  do {                                                                                      \
    if (!(__VA_ARGS__)) {                                                                   \
      std::fprintf(stderr, "%s:%d: does not hold: %s\n", __FILE__, __LINE__, #__VA_ARGS__); \
      std::abort();                                                                         \
    }                                                                                       \
  } while (false)

// Takes values off the front of the bytes; zeros after their end.
class Input {
 public:
  Input(const std::uint8_t* data, std::size_t size) : rest_(reinterpret_cast<const char*>(data), size) {}

  bool empty() const { return rest_.empty(); }

  template <class Value>
  Value Take() {
    static_assert(std::is_trivially_copyable_v<Value>);
    Value value{};
    const std::size_t count = rest_.size() < sizeof value ? rest_.size() : sizeof value;
    std::memcpy(&value, rest_.data(), count);
    rest_.remove_prefix(count);
    return value;
  }

  // From 0 to end - 1; end is 256 at the most.
  unsigned Below(unsigned end) { return Take<std::uint8_t>() % end; }

  std::string_view Bytes(std::size_t most) {
    const std::string_view bytes = rest_.substr(0, most);
    rest_.remove_prefix(bytes.size());
    return bytes;
  }
  std::string_view Rest() { return Bytes(rest_.size()); }

 private:
  std::string_view rest_;
};

}  // namespace fuzz
