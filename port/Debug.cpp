#include "port/Debug.h"

#include <mutex>
#include <utility>

namespace sys {
namespace {

std::mutex mutex;
DebugSink currentSink;

}  // namespace

void WriteDebugLine(const wchar_t* line) {
  DebugSink sink;
  {
    std::lock_guard lock(mutex);
    sink = currentSink;
  }
  // Outside the lock: a sink may use the library itself.
  if (sink) {
    sink(line);
  } else {
    WriteToPlatformDebugOutput(line);
  }
}

void SetDebugSink(DebugSink sink) {
  std::lock_guard lock(mutex);
  currentSink = std::move(sink);
}

}  // namespace sys
