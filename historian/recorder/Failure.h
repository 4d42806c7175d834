#pragma once

#include <chrono>
#include <string_view>

namespace historian::recorder {

// What to do about a failure of the server.
enum class Verdict {
  TryLater,       // it is away, busy, full, or has given no reason
  WrongServer,    // it takes no writes: another one has that role now
  RefusedData,    // a record cannot be stored; others can
  Duplicate,      // a record of that key is there
  RefusedProgram  // right, table or function missing: people have to see to it
};

// By the SQLSTATE alone, never by a message. Empty: the server did not answer. What is not known is tried
// again: nothing is given up for a reason that nobody has foreseen.
Verdict Classify(std::string_view sqlState);

// Pauses between attempts: from the first one doubling up to the longest, each shortened by up to half at
// random, so that many recorders do not come back at the same instant.
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
