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

// Connects. Notices of the server are ignored, and dates come in ISO style.
ConnectionHandle Connect(const ConnectionKeywords& keywords);

// Makes closing a connection immediate: nothing more is sent, and nothing is waited for.
void ShutDown(const PGconn* connection);

}  // namespace pq
