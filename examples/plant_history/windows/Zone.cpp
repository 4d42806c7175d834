#include "Zone.h"

#include <cstdlib>
#include <ctime>
#include <stdexcept>

namespace plant {

const char* const kZoneHint = "; here are UTC and offsets from it such as +01:00";

void SetNamedZone(const std::string& name) {
  if (name != "UTC") throw std::invalid_argument(name);
  _putenv_s("TZ", "UTC0");
  _tzset();
}

std::int64_t NamedZoneOffset(std::int64_t) { return 0; }

}  // namespace plant
