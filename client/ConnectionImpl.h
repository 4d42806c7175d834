#pragma once

#include <memory>
#include <vector>

#include "pgAPI.h"
#include "pq/Connection.h"

// A command's text and its parameters: first the numbered ones in ascending order, then the named ones.
struct TextAndParameters {
  SAString text;
  std::shared_ptr<pq::Statement> statement;
  std::vector<SAParam> parameters;
};

// What a connection shares with the commands on it, which may outlive it.
struct SharedConnection {
  pq::Connection connection;
  pq::StatementCache statements;
  // The statement of a command without a text.
  std::shared_ptr<pq::Statement> noStatement = std::make_shared<pq::Statement>(pq::MarkedStatement());
  // What the last destroyed command leaves to the next one with the same text, because programs often repeat
  // a statement with a new command.
  TextAndParameters recent;
  pq::Parameters parameters;  // of the next statement
};

class SAConnection::Impl {
 public:
  pq::Connection& connection() { return shared->connection; }

  std::shared_ptr<SharedConnection> shared = std::make_shared<SharedConnection>();
  pgConnectionHandles handles;
  SAIsolationLevel_t isolationLevel = SA_LevelUnknown;
};
