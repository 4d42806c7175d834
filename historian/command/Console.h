#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace historian::command {

// The command line in UTF-8, without the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

struct Console {
  bool interactive = false;  // standard output is a terminal, and escape sequences work there
  std::size_t columns = 0;   // 0: unknown
};

// Describes standard output. From now on it and standard error take UTF-8 bytes unchanged.
Console StandardOutput();

// From now on the first SIGINT (Ctrl-C) or SIGTERM is remembered instead of ending the program.
void DeferInterrupts();
// The signal that was received, 0 if none.
int InterruptNoted();

}  // namespace historian::command
