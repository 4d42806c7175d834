#include "Interrupt.h"

#include <windows.h>

#include <atomic>
#include <csignal>

namespace plant {
namespace {

// Noted on a thread of the system's.
std::atomic<int> received = 0;

BOOL WINAPI Note(DWORD event) {
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) return FALSE;
  received = event == CTRL_C_EVENT ? SIGINT : SIGTERM;
  return TRUE;
}

}  // namespace

void DeferInterrupts() { SetConsoleCtrlHandler(Note, TRUE); }

void ThrowIfInterrupted() {
  if (received != 0) throw Interrupted{received};
}

}  // namespace plant
