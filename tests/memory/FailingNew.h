#pragma once

#include <cstddef>

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
