#include "Memory.h"

#include <fstream>
#include <string>

namespace bench {
namespace {

constexpr double kKilobytesPerMebibyte = 1024;

// A value of /proc/self/status, in MiB.
double Status(const std::string& name) {
  std::ifstream file("/proc/self/status");
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(name + ":")) return std::stod(line.substr(name.size() + 1)) / kKilobytesPerMebibyte;
  }
  return 0;
}

}  // namespace

double PeakMemory() { return Status("VmHWM"); }

double ResetPeakMemory() {
  std::ofstream("/proc/self/clear_refs") << "5";
  return Status("VmRSS");
}

}  // namespace bench
