#pragma once

namespace fuzz {

// Frees the results that libpq has lost. libpq 15 holds the result that it is reading by one pointer; when
// the server describes parameters or starts a COPY in the middle of an answer, it overwrites the pointer.
// Results that libpq has returned are not freed here, so that the sanitizer finds those that their owner
// loses. All connections must be closed, and only one thread may use libpq.
void FreeLostResults();

}  // namespace fuzz
