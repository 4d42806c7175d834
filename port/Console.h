#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace sys {

// The command line in UTF-8, without the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

struct Console {
  bool interactive = false;  // standard output is a terminal, and escape sequences work there
  std::size_t columns = 0;   // 0: it has no width of its own
};

// Standard output; it and standard error take UTF-8 bytes unchanged from now on.
Console StandardOutput();

// Standard input, which gives its bytes unchanged from now on. Whether it is a terminal.
bool StandardInputIsTerminal();

// Asks that SIGINT (Ctrl-C) and SIGTERM are noted instead of ending the program.
void DeferInterrupts();
// The signal noted last, 0 while there was none.
int InterruptNoted();

}  // namespace sys
