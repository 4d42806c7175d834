#pragma once

namespace plant {

// Thrown where a step can stop without leaving anything half done.
struct Interrupted {
  int signal;
};

// From now on Ctrl-C (and SIGTERM) waits for the next ThrowIfInterrupted.
void DeferInterrupts();
void ThrowIfInterrupted();

}  // namespace plant
