#include "Result.h"

#include <libpq-fe.h>

#include "Errors.h"
#include "NativeApi.h"

namespace pq {

void ClearResult::operator()(PGresult* result) const { PQclear(result); }

bool IsFailure(const PGresult* result) {
  const ExecStatusType status = PQresultStatus(result);
  return status == PGRES_FATAL_ERROR || status == PGRES_BAD_RESPONSE;
}

void ThrowFailure(const PGresult* result, const PGconn* connection) {
  const char* const sqlState = PQresultErrorField(result, PG_DIAG_SQLSTATE);
  throw StatementFailure(PQresultStatus(result), ErrorText(NativeApi(), result, connection),
                         sqlState ? sqlState : "");
}

}  // namespace pq
