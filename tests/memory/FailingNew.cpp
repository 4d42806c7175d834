#include "FailingNew.h"

#include <cstdlib>
#include <new>

namespace {

thread_local std::size_t untilFailure = 0;  // 0: none fails
thread_local bool failed = false;

}  // namespace

FailingNew::FailingNew(std::size_t k) {
  failed = false;
  untilFailure = k;
}

FailingNew::~FailingNew() { untilFailure = 0; }

bool FailingNew::HasFailed() { return failed; }

void* operator new(std::size_t bytes) {
  if (untilFailure != 0 && --untilFailure == 0) {
    failed = true;
    throw std::bad_alloc();
  }
  void* const memory = std::malloc(bytes != 0 ? bytes : 1);
  if (!memory) throw std::bad_alloc();
  return memory;
}

void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }
