#include "Interrupt.h"

#include <csignal>

namespace plant {
namespace {

volatile std::sig_atomic_t received = 0;

void Note(int signal) { received = signal; }

}  // namespace

void DeferInterrupts() {
  struct sigaction action {};
  action.sa_handler = Note;
  action.sa_flags = SA_RESTART;
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

void ThrowIfInterrupted() {
  if (received != 0) throw Interrupted{received};
}

}  // namespace plant
