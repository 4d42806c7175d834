#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Link.h"
#include "Parameters.h"
#include "RecentStatements.h"

namespace pq {

// Tells the statements of a session apart; 0 is none.
using Ticket = std::uint64_t;

// A statement as the server's unnamed one: the types it was parsed for, and which sending did that.
struct Parsed {
  std::shared_ptr<const MarkedStatement> statement;
  std::vector<unsigned> types;
  Ticket unnamed = 0;
};

// What a connection and the commands on it share: the link, and who reads from it. It outlives its links, and
// its connection while commands are left. Where an open link is needed and there is none, class 2 is thrown.
class Session {
 public:
  void Open(const ConnectionKeywords& keywords);  // while there is no link
  void Close();
  void Drop() noexcept;
  bool IsOpen() const { return link_ != nullptr; }
  bool IsAlive();
  const PGconn* link() const { return link_.get(); }
  unsigned LinkNumber() const { return linkNumber_; }  // counts the links there have been

  // The link for others to use, null when there is none. From then on they may have sent anything over it.
  PGconn* NativeLink();

  // The statement of a text.
  std::shared_ptr<const MarkedStatement> Marked(std::wstring_view text) { return recent_.Get(text); }

  // For the values of the statement that is sent next.
  Parameters& parameters() { return parameters_; }

  // Before anything is sent: discards what the last answer has left unread, and releases what is to be
  // released.
  void MakeReady();

  // Statements of the layer's own, run to their end. Value gives the first value of the first row.
  void Run(const char* statement) { Execute(statement); }
  std::string Value(const char* query);
  void Commit();    // nothing outside a transaction
  void Rollback();  // likewise

  // Send a statement, ready, whose answer is then read piece by piece with Next.
  Ticket Send(const std::string& text);
  Ticket SendParsing(const std::string& text, const std::vector<unsigned>& types,
                     const Parameters& parameters);
  Ticket SendPrepared(const std::string& name, const Parameters& parameters);

  // Whether the answer on the link is still the one to this sending.
  bool IsReading(Ticket ticket) const { return ticket == reading_; }

  // A row, or the end of a statement; null after the last one.
  Result Next();

  // Whether the server's unnamed statement is still the one that this sending has parsed.
  bool HoldsUnnamed(Ticket ticket) const { return ticket == unnamed_ && !nativeTaken_; }

  // What a command leaves parsed as the unnamed statement, for another one of the same text to take over.
  // FindLeft gives null when there is nothing of the text.
  void Leave(Parsed parsed) { left_ = std::move(parsed); }
  const Parsed* FindLeft(const MarkedStatement* statement) const {
    return left_.statement.get() == statement && HoldsUnnamed(left_.unnamed) ? &left_ : nullptr;
  }
  Parsed TakeLeft() { return std::exchange(left_, {}); }

  // Has the server parse a statement under a name of its own, which it keeps until that is released: with a
  // later statement, outside a transaction.
  std::string Prepare(const std::string& text, const std::vector<unsigned>& types);
  void Release(const std::string& name, unsigned linkNumber);

 private:
  Result Execute(const char* statement);
  bool IsInTransaction();
  void DiscardUnread();
  void DeallocateReleased();
  Ticket Sent(int accepted);

  Link link_;
  unsigned linkNumber_ = 0;
  Ticket lastTicket_ = 0;
  Ticket reading_ = 0;
  Ticket unnamed_ = 0;        // which sending parsed the server's unnamed statement
  bool nativeTaken_ = false;  // others may use this link, unseen
  Parsed left_;
  unsigned lastName_ = 0;
  std::vector<std::string> released_;
  RecentStatements recent_;
  Parameters parameters_;
};

}  // namespace pq
