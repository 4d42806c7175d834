#include "Failure.h"

#include "Console.h"

namespace historian::command {

void ThrowIfInterrupted() {
  if (InterruptNoted() != 0) throw Interrupted("interrupted");
}

}  // namespace historian::command
