#include "DbmsAPI/frame/ServerError.h"

// The vendor's documented interface does not give the fields of an error.

std::string SqlStateOf(const SAException&) { return {}; }

std::string SqlStateOf(const pgAPI&, const PGresult*) { return {}; }

std::string TextOf(const pgAPI& api, const PGresult* result, const PGconn* connection) {
  std::string text = api.PQresultErrorMessage(result);
  if (text.empty()) text = api.PQerrorMessage(connection);
  return text.substr(0, text.find_last_not_of('\n') + 1);
}
