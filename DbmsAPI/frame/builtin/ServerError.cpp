#include "DbmsAPI/frame/ServerError.h"

std::string SqlStateOf(const SAException& error) { return error.SqlState(); }

std::string SqlStateOf(const pgAPI& api, const PGresult* result) {
  const char* const state = api.PQresultErrorField(result, 'C');  // PG_DIAG_SQLSTATE
  return state ? state : "";
}

std::string TextOf(const pgAPI& api, const PGresult* result, const PGconn* connection) {
  return ErrorText(api, result, connection);
}
