#pragma once

// The server of the unit tests: records the statements it receives and answers from a script.

#include <map>
#include <optional>
#include <string>
#include <vector>

namespace scripted {

using CellText = std::optional<std::wstring>;  // no value: SQL NULL
using Row = std::vector<CellText>;
using Rows = std::vector<Row>;

// What the server answers to a statement.
struct Reply {
  Rows rows;
  std::optional<std::size_t> failAfterRows;  // the link breaks in the middle of the rows
};

// A failure as the client layer reports it.
struct Failure {
  int errorClass = 3;
  int nativeCode = 7;
  std::wstring text = L"ERROR:  refused by the script";
  std::string sqlState = {};
};

// One statement as it was sent. Binds are written with their type: "int2 5", "float8 1.5", "text A", "null".
struct Sent {
  std::wstring statement;
  std::vector<std::wstring> binds;
};

class Server {
 public:
  // The server that connections reach: the latest one constructed.
  static Server& Current();

  Server();
  ~Server();
  Server(const Server&) = delete;
  Server& operator=(const Server&) = delete;

  // ---- Script ----

  // Answers a statement of exactly this text with these rows; others are answered without rows. A later reply
  // to the same text replaces the earlier one.
  void Answer(const std::wstring& statement, Rows rows);
  // The same, once. Several such answers are used in order, before the rows of Answer.
  void AnswerOnce(const std::wstring& statement, Rows rows);
  // Delivers `count` of the rows, then fails.
  void FailAfterRows(const std::wstring& statement, Rows rows, std::size_t count);
  // Fails the k-th statement from now on, counting from 1, plain and native ones together. A native one whose
  // failure has no text gets no result, as on a lost connection.
  void FailStatement(std::size_t k, Failure failure = {});
  // Refuses connections with this failure until AcceptConnections.
  void RefuseConnections(Failure failure);
  void AcceptConnections();
  // What isAlive returns; isConnected does not change.
  bool alive = true;
  // Native copy: the k-th PQputCopyData from now on is refused; PQputCopyEnd and the copy's result.
  std::optional<std::size_t> refusedCopyPiece;
  std::optional<std::string> copyFailure;  // text of the copy's result
  std::optional<int> endlessCopyStatus;    // of every result after the copy
  std::string connectionError = "no connection to the server\n";

  // ---- Record ----

  std::vector<Sent> sent;           // every statement, plain and native
  std::vector<std::string> copied;  // each piece of copy data
  std::vector<std::wstring>
      events;  // connect, alive, connected, destroy, commit, rollback, isolation, copy end
  std::vector<std::wstring> connects;  // "host,port@database user password client"
  int openResults = 0;                 // native results not yet cleared

  std::vector<std::wstring> Statements() const;
  // Forgets the record, keeps the script.
  void Forget();

  // ---- For the scripted client layer ----

  // Records a statement and returns its answer; throws SAException if the script says so.
  Reply Execute(const Sent& statement);
  // The same for native calls: the failure's text instead of an exception.
  std::optional<Failure> ExecuteNative(const Sent& statement);
  std::optional<Failure> refusal;

 private:
  std::optional<Failure> NextFailure();

  std::map<std::wstring, Reply> replies_;
  std::map<std::wstring, std::vector<Rows>> onceReplies_;
  std::size_t count_ = 0;
  std::map<std::size_t, Failure> failures_;
  Server* former_;
};

}  // namespace scripted
