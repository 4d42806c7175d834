#include "historian/command/Console.h"

#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace historian::command {
namespace {

volatile sig_atomic_t noted = 0;

void Note(int signal) { noted = signal; }

}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

Console StandardOutput() {
  Console console;
  console.interactive = isatty(STDOUT_FILENO) != 0;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) console.columns = size.ws_col;
  return console;
}

void DeferInterrupts() {
  struct sigaction action {};
  action.sa_handler = Note;
  // A second Ctrl-C ends the program at once.
  action.sa_flags = SA_RESTART | static_cast<int>(SA_RESETHAND);
  sigaction(SIGINT, &action, nullptr);
  sigaction(SIGTERM, &action, nullptr);
}

int InterruptNoted() { return noted; }

}  // namespace historian::command
