#include "port/ConnectionRefused.h"

namespace port {

std::string ConnectionRefusedText() { return "Connection refused"; }

}  // namespace port
