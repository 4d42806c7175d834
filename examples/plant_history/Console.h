#pragma once

// What the program asks of the operating system about its command line and where it writes to; posix/ and
// windows/ answer.

#include <cstddef>
#include <string>
#include <vector>

namespace plant {

// The command line in UTF-8, without the program's name.
std::vector<std::string> Arguments(int argc, char** argv);

struct Console {
  bool interactive = false;  // somebody looks at standard output, and escape sequences work there
  std::size_t columns = 0;   // 0: of no width of its own
};

// Standard output, which takes UTF-8 from now on.
Console StandardOutputConsole();

}  // namespace plant
