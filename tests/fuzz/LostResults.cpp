#include "LostResults.h"

#include <dlfcn.h>
#include <libpq-fe.h>

#include <set>
#include <utility>

namespace {

// Results that were made, and neither returned nor freed.
std::set<PGresult*> unreturned;

template <class Function>
Function* InLibpq(const char* name) {
  return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

}  // namespace

// These replace libpq's own functions, also within libpq.
extern "C" {

[[gnu::visibility("default")]] PGresult* PQmakeEmptyPGresult(PGconn* connection, ExecStatusType status) {
  PGresult* const result = InLibpq<decltype(PQmakeEmptyPGresult)>("PQmakeEmptyPGresult")(connection, status);
  unreturned.insert(result);
  return result;
}

[[gnu::visibility("default")]] PGresult* PQgetResult(PGconn* connection) {
  PGresult* const result = InLibpq<decltype(PQgetResult)>("PQgetResult")(connection);
  unreturned.erase(result);
  return result;
}

[[gnu::visibility("default")]] void PQclear(PGresult* result) {
  unreturned.erase(result);
  InLibpq<decltype(PQclear)>("PQclear")(result);
}
}

namespace fuzz {

void FreeLostResults() {
  for (PGresult* const result : std::exchange(unreturned, {})) PQclear(result);
}

}  // namespace fuzz
