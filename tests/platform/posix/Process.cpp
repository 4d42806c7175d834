#include "platform/Process.h"

#include <unistd.h>

#include <cstdlib>
#include <fstream>
#include <stdexcept>
#include <string>

namespace platform {

int ProcessId() { return ::getpid(); }

long ResidentKilobytes() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line)) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  throw std::runtime_error("the process does not know its memory");
}

void SetVariable(const char* name, const char* value) {
  if (value) {
    ::setenv(name, value, 1);
  } else {
    ::unsetenv(name);
  }
}

}  // namespace platform
