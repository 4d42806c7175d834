#pragma once

#include <cstddef>
#include <new>
#include <optional>

// More allocations than any operation makes.
constexpr std::size_t kMaxAllocations = 10000;

// Makes one allocation of this thread fail. The program's operator new also serves the libraries that it
// loads; what libpq allocates is not affected.
class FailingNew {
 public:
  // The k-th allocation from now on, counting from 1, throws std::bad_alloc.
  explicit FailingNew(std::size_t k);
  ~FailingNew();
  FailingNew(const FailingNew&) = delete;
  FailingNew& operator=(const FailingNew&) = delete;

  // Whether that allocation was reached.
  static bool HasFailed();
};

// Calls a function whose k-th allocation fails. Returns its result; nothing when it ended with
// std::bad_alloc.
template <class Call>
auto CallWithFailure(std::size_t k, Call&& call) -> std::optional<decltype(call())> {
  const FailingNew failing(k);
  try {
    return call();
  } catch (const std::bad_alloc&) {
    return std::nullopt;
  }
}
