#pragma once

#include <chrono>
#include <string_view>

namespace historian::recorder {

// What to do about a failure of the server.
enum class Verdict {
  TryLater,       // the server is away, busy or full, or gave no reason
  WrongServer,    // the server accepts no writes: another one has that role now
  RefusedData,    // a record cannot be stored; others can
  Duplicate,      // a record with that key is stored already
  RefusedProgram  // a right, table or function is missing: somebody must intervene
};

// Classifies by the SQLSTATE alone, never by a message. Empty: the server did not answer. Unknown failures
// are tried again, so that nothing is given up for an unforeseen reason.
Verdict Classify(std::string_view sqlState);

// Pauses between attempts: from the first one doubling up to the longest, each shortened by up to half at
// random, so that many recorders do not connect again at the same instant.
class Backoff {
 public:
  using Milliseconds = std::chrono::milliseconds;

  Backoff(Milliseconds first, Milliseconds longest) : first_(first), longest_(longest), next_(first) {}

  // `chance` is between 0 and 1.
  Milliseconds Next(double chance);
  void Reset() { next_ = first_; }

 private:
  Milliseconds first_, longest_, next_;
};

}  // namespace historian::recorder
