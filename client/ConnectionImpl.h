#pragma once

#include <memory>
#include <vector>

#include "pgAPI.h"
#include "pq/Connection.h"

// A command's text and its parameters: first those with a number, ascending.
struct TextAndParameters {
  SAString text;
  std::shared_ptr<pq::Statement> statement;
  std::vector<SAParam> parameters;
};

// What a connection shares with the commands on it, which may outlive it.
struct SharedConnection {
  pq::Connection connection;
  pq::StatementCache statements;
  // Of a command without a text.
  std::shared_ptr<pq::Statement> noStatement = std::make_shared<pq::Statement>(pq::MarkedStatement());
  // Of the command that ended last, for the next one with the same text: programs repeat statements, each
  // time by a new command.
  TextAndParameters recent;
  pq::Parameters parameters;  // of the statement that is sent next
};

class SAConnection::Impl {
 public:
  pq::Connection& connection() { return shared->connection; }

  std::shared_ptr<SharedConnection> shared = std::make_shared<SharedConnection>();
  pgConnectionHandles handles;
  SAIsolationLevel_t isolationLevel = SA_LevelUnknown;
};
