#pragma once

#include <string>

namespace sys {

// The operating system's own text for a refused connection, in the language of the process, in UTF-8.
std::string ConnectionRefusedText();

}  // namespace sys
