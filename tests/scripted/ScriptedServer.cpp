#include "scripted/ScriptedServer.h"

#include <SQLAPI.h>

#include <stdexcept>

namespace scripted {
namespace {

Server* current = nullptr;

SAException AsException(const Failure& failure) {
  return SAException(static_cast<SAErrorClass_t>(failure.errorClass), failure.nativeCode,
                     failure.text.c_str(), failure.sqlState);
}

}  // namespace

Server& Server::Current() {
  if (current == nullptr) throw std::logic_error("no scripted server");
  return *current;
}

Server::Server() : former_(current) { current = this; }
Server::~Server() { current = former_; }

void Server::Answer(const std::wstring& statement, Rows rows) {
  replies_[statement] = {std::move(rows), std::nullopt};
}

void Server::AnswerOnce(const std::wstring& statement, Rows rows) {
  onceReplies_[statement].push_back(std::move(rows));
}

void Server::FailAfterRows(const std::wstring& statement, Rows rows, std::size_t count) {
  replies_[statement] = {std::move(rows), count};
}

void Server::FailStatement(std::size_t k, Failure failure) { failures_[count_ + k] = std::move(failure); }

void Server::RefuseConnections(Failure failure) { refusal = std::move(failure); }

void Server::AcceptConnections() { refusal.reset(); }

std::vector<std::wstring> Server::Statements() const {
  std::vector<std::wstring> statements;
  for (const Sent& one : sent) statements.push_back(one.statement);
  return statements;
}

void Server::Forget() {
  sent.clear();
  copied.clear();
  events.clear();
  connects.clear();
}

std::optional<Failure> Server::NextFailure() {
  const auto failure = failures_.find(++count_);
  if (failure == failures_.end()) return std::nullopt;
  return failure->second;
}

Reply Server::Execute(const Sent& statement) {
  sent.push_back(statement);
  if (const auto failure = NextFailure()) throw AsException(*failure);
  auto& once = onceReplies_[statement.statement];
  if (!once.empty()) {
    Reply reply{once.front(), std::nullopt};
    once.erase(once.begin());
    return reply;
  }
  const auto reply = replies_.find(statement.statement);
  return reply == replies_.end() ? Reply{} : reply->second;
}

std::optional<Failure> Server::ExecuteNative(const Sent& statement) {
  sent.push_back(statement);
  return NextFailure();
}

}  // namespace scripted
