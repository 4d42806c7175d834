#pragma once

#include <string_view>

namespace fuzz {

// Runs operations against a server that changes its answers as the bytes say, then against the same one that
// does not. Ends the process when an operation throws, or when the object does not work again.
void RunHostileServer(std::string_view decisions);

}  // namespace fuzz
