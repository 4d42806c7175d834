#pragma once

#include <memory>
#include <string>

#include "ConnectionString.h"
#include "Result.h"

namespace pq {

struct FinishConnection {
  void operator()(PGconn* connection) const;
};

// A connection to a server; closes it in an orderly way.
using ConnectionHandle = std::unique_ptr<PGconn, FinishConnection>;

// Connects, within the time that the keywords allow. Notices of the server are ignored. Dates come in ISO
// style, numbers with all their digits, and a backslash in a string is an ordinary character.
ConnectionHandle Connect(const ConnectionKeywords& keywords);

// Connects once more to the server of a connection, to ask it something: with the same keywords and the same
// time limit (10 seconds if it has none), but without settings. Error texts of the server end with their
// SQLSTATE. Throws a connect failure.
ConnectionHandle OpenToAsk(PGconn* connection);

// Runs statements within the time limit for connecting, and returns the result of the last one. Throws a
// connect failure.
Result RunInTime(PGconn* connection, const std::string& statements);

// Has dates sent in ISO style again if a client has set another one. Does nothing in a failed transaction.
void RestoreIsoDates(PGconn* connection);

}  // namespace pq
