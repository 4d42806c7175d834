#include <string_view>

#include "pgAPI.h"
#include "pq/Errors.h"

namespace {

// libpq's codes of the fields of an error.
constexpr int kSqlState = 'C';
constexpr int kMessage = 'M';

// Classes of errors whose further lines quote rows: "Failing row contains (...)", "Key (...)=(...)".
bool QuotesRows(std::string_view sqlState) {
  return sqlState.starts_with("22") || sqlState.starts_with("23") || sqlState.starts_with("44");
}

}  // namespace

saAPI::~saAPI() = default;
saConnectionHandles::~saConnectionHandles() = default;

std::string ErrorText(const pgAPI& api, const PGresult* result, const PGconn* connection) {
  std::string_view text = api.PQresultErrorMessage(result);
  const char* const sqlState = api.PQresultErrorField(result, kSqlState);
  const char* const message = api.PQresultErrorField(result, kMessage);
  if (sqlState && message && QuotesRows(sqlState)) {
    const std::size_t at = text.find(message);
    if (at != std::string_view::npos) text = text.substr(0, at + std::string_view(message).size());
  }
  text = pq::WithoutLineFeeds(text);
  return std::string(text.empty() ? pq::WithoutLineFeeds(api.PQerrorMessage(connection)) : text);
}
