#pragma once

#include <string>

#include "ConnectionHandle.h"

namespace pq {

// Asks the server of a silent connection, over a second one, what the process of the first one does. Returns
// what is wrong, as the end of a sentence in UTF-8: no answer, or a process that is gone or waits for its
// client. Empty when the process works on a statement, and when the answer is inconclusive: the server
// refuses the second connection or the question, a pooler uses process numbers of its own, or the process is
// missing at a standby, which may not be the standby of the first connection.
std::string AskWhatIsWrong(PGconn* connection);

}  // namespace pq
