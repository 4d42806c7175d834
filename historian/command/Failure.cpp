#include "Failure.h"

#include "port/Console.h"

namespace historian::command {

void ThrowIfInterrupted() {
  if (sys::InterruptNoted() != 0) throw Interrupted("interrupted");
}

}  // namespace historian::command
