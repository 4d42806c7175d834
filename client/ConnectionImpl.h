#pragma once

#include <memory>

#include "pgAPI.h"
#include "pq/Connection.h"

// What a connection shares with the commands on it, which may outlive it.
struct SharedConnection {
  pq::Connection connection;
  pq::StatementCache statements;
  // The statement of a command without a text.
  std::shared_ptr<pq::Statement> noStatement = std::make_shared<pq::Statement>(SAString());
  pq::Parameters parameters;  // of the next statement
};

class SAConnection::Impl {
 public:
  pq::Connection& connection() { return shared->connection; }

  std::shared_ptr<SharedConnection> shared = std::make_shared<SharedConnection>();
  pgConnectionHandles handles;
  SAIsolationLevel_t isolationLevel = SA_LevelUnknown;
};
