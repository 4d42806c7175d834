#include "DbmsAPI/frame/ServerError.h"

namespace {

constexpr int kSqlStateField = 'C';  // PG_DIAG_SQLSTATE

}  // namespace

std::string SqlStateOf(const SAException& error) { return error.SqlState(); }

std::string SqlStateOf(const pgAPI& api, const PGresult* result) {
  const char* const state = api.PQresultErrorField(result, kSqlStateField);
  return state ? state : "";
}

std::string TextOf(const pgAPI& api, const PGresult* result) { return ErrorText(api, result); }
