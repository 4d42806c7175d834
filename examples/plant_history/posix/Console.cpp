#include "Console.h"

#include <sys/ioctl.h>
#include <unistd.h>

namespace plant {

std::vector<std::string> Arguments(int argc, char** argv) { return {argv + 1, argv + argc}; }

Console StandardOutputConsole() {
  Console console;
  console.interactive = isatty(STDOUT_FILENO) != 0;
  winsize size{};
  if (ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) console.columns = size.ws_col;
  return console;
}

}  // namespace plant
