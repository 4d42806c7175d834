#pragma once

namespace fuzz {

// Frees the results that libpq has leaked. libpq 15 has a single pointer to the result that it is reading,
// and overwrites it when the server describes parameters or starts a COPY in the middle of an answer. Results
// that libpq has returned are not freed here, so that the sanitizer finds those that their owner leaks. All
// connections must be closed, and only one thread may use libpq.
void FreeLostResults();

}  // namespace fuzz
