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

// Connects to ask about the server: makes no settings, and error texts of the server end with their SQLSTATE.
// Throws a connect failure.
ConnectionHandle OpenToAsk(const ConnectionKeywords& keywords);

// Runs statements within the time limit for connecting, and returns the result of the last one. Throws a
// connect failure.
Result RunInTime(PGconn* connection, const std::string& statements);

// Whether the time for connecting is limited.
bool HasTimeLimit(PGconn* connection);

// Whether dates come in ISO style; SetIsoDates switches to it.
bool ReportsIsoDates(const PGconn* connection);
void SetIsoDates(PGconn* connection);

// Shuts the socket down, so that closing the connection neither sends anything nor waits.
void ShutDown(const PGconn* connection);

}  // namespace pq
