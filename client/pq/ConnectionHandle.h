#pragma once

#include <memory>

#include "ConnectionString.h"
#include "Result.h"

namespace pq {

struct FinishConnection {
  void operator()(PGconn* connection) const;
};

// A connection to a server; closes it in an orderly way.
using ConnectionHandle = std::unique_ptr<PGconn, FinishConnection>;

// Connects, within the time that the keywords give. Notices of the server are ignored. Dates come in ISO
// style, numbers with all their digits, and a backslash in a string is an ordinary character.
ConnectionHandle Connect(const ConnectionKeywords& keywords);

// Whether dates come in ISO style, and the statement that makes them.
bool ReportsIsoDates(const PGconn* connection);
void SetIsoDates(PGconn* connection);

// Makes closing a connection immediate: nothing more is sent, and nothing is waited for.
void ShutDown(const PGconn* connection);

}  // namespace pq
