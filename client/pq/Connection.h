#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "ConnectionHandle.h"
#include "Parameters.h"
#include "StatementCache.h"

namespace pq {

// The time zones of a session in which this layer can compute the calendar fields of an instant.
enum class SessionZone { Unknown, Utc, Process };

// Identifies a query that was sent over a connection; 0 is none.
using QueryId = std::uint64_t;

// A connection to a server, and the query whose answer is being read. It may be opened again after it was
// closed. Functions that need an open connection throw class 2 when there is none.
class Connection {
 public:
  void Open(const ConnectionKeywords& keywords);  // only while closed
  void Close();
  void Destroy() noexcept;
  bool IsOpen() const { return handle_ != nullptr; }
  bool IsAlive();

  const PGconn* handle() const { return handle_.get(); }
  // The handle for use outside this layer, after unread rows were discarded; null while closed.
  PGconn* NativeHandle();

  // Run statements of this layer itself. Value returns the first value of the first row.
  void Run(const char* statement) { Execute(statement); }
  std::string Value(const char* query);
  void Commit();    // does nothing outside a transaction
  void Rollback();  // the same

  // Sends a statement; Next reads its answer.
  //
  // A statement with parameters is sent unnamed the first time. The second time it is prepared under a name,
  // which is used from then on. Values of other types, and a new connection, start over.
  //
  // In binary, rows come in the server's binary format, except those of a text without parameters that may
  // hold several statements.
  QueryId Send(Statement& statement, const Parameters& parameters, bool inBinary = false);

  // Whether the answer that Next reads is that of this query.
  bool IsReading(QueryId query) const { return query == reading_; }

  // A row, or the end of a statement; null after the last one.
  Result Next();

  // The time zone that the session is in now.
  SessionZone Zone() const;

  // Whether the server waits for a statement outside a transaction.
  bool IsIdle() const;

 private:
  void MakeReady();
  void DiscardUnread();
  void DeallocateReleased();
  Result Execute(const char* statement);
  bool IsInTransaction();
  PreparedNames Prepare(const Statement& statement);
  QueryId Sent(int accepted);

  ConnectionHandle handle_;
  QueryId lastQuery_ = 0;
  QueryId reading_ = 0;
  unsigned lastName_ = 0;
  std::shared_ptr<PreparedNames> released_;  // statements to deallocate; null while the connection is closed
};

}  // namespace pq
