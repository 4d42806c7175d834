#include "port/ConnectionRefused.h"

#include <cerrno>
#include <system_error>

namespace sys {

std::string ConnectionRefusedText() { return std::generic_category().message(ECONNREFUSED); }

}  // namespace sys
