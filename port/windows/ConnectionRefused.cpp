#include "port/ConnectionRefused.h"

namespace sys {

std::string ConnectionRefusedText() { return "Connection refused"; }

}  // namespace sys
