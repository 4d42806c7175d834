#pragma once

#include <memory>

typedef struct pg_conn PGconn;
typedef struct pg_result PGresult;

namespace pq {

struct ClearResult {
  void operator()(PGresult* result) const;
};

// What the server answered: the outcome of a statement, or one row of it.
using Result = std::unique_ptr<PGresult, ClearResult>;

// Whether a result says that the statement failed.
bool IsFailure(const PGresult* result);

// Throws the failure that a result holds (null: libpq could not make one) on the connection it came over.
[[noreturn]] void ThrowFailure(const PGresult* result, const PGconn* connection);

}  // namespace pq
