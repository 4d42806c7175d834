#pragma once

#include <string_view>

namespace fuzz {

// Runs operations against a server that changes its answers according to the bytes, then against the
// unchanged server. Ends the process when an operation throws, or when the object does not work again.
void RunHostileServer(std::string_view decisions);

}  // namespace fuzz
