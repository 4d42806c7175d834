#include "ConnectionDefaults.h"

#include <libpq-fe.h>

#include <algorithm>
#include <memory>
#include <string_view>
#include <utility>

#include "Errors.h"

namespace pq {
namespace {

// An attempt to connect ends after 10 seconds. A connection whose other end is silent counts as lost after 30
// seconds, or after 25 while it only waits for an answer.
constexpr std::pair<const char*, const char*> kLimits[] = {{"connect_timeout", "10"},
                                                           {"keepalives_idle", "10"},
                                                           {"keepalives_interval", "5"},
                                                           {"keepalives_count", "3"},
                                                           {"tcp_user_timeout", "30000"}};

// Without it numbers may arrive rounded. The server does not report this setting.
constexpr char kSessionOptions[] = "-c extra_float_digits=1 ";

constexpr char kUnreadable[] = "The database text holds keywords that cannot be read";

// The options that have a value. Frees the options.
ConnectionKeywords Take(PQconninfoOption* options) {
  const std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> owner(options, PQconninfoFree);
  ConnectionKeywords keywords;
  for (const PQconninfoOption* option = options; option && option->keyword; ++option) {
    if (option->val) keywords.emplace_back(option->keyword, option->val);
  }
  return keywords;
}

bool HoldsKeywords(std::string_view database) {
  return database.find('=') != std::string_view::npos || database.starts_with("postgresql://") ||
         database.starts_with("postgres://");
}

// Replaces a database text by the keywords in it. libpq would do that too, but when it cannot read the text
// it quotes it in its message, with the password.
ConnectionKeywords Expand(const ConnectionKeywords& keywords) {
  const bool namesHost = !Find(keywords, "host").empty();
  ConnectionKeywords expanded;
  for (const auto& [name, value] : keywords) {
    if (name != "dbname" || !HoldsKeywords(value)) {
      expanded.emplace_back(name, value);
      continue;
    }
    char* quotingMessage = nullptr;
    PQconninfoOption* const options = PQconninfoParse(value.c_str(), &quotingMessage);
    PQfreemem(quotingMessage);
    if (!options) throw ConnectFailure(kUnreadable, {});
    for (auto& option : Take(options)) {
      if (!namesHost || option.first != "hostaddr") expanded.push_back(std::move(option));
    }
  }
  return expanded;
}

}  // namespace

std::string_view Find(const ConnectionKeywords& keywords, std::string_view keyword) {
  const auto found =
      std::find_if(keywords.rbegin(), keywords.rend(), [&](const auto& one) { return one.first == keyword; });
  return found == keywords.rend() ? std::string_view() : found->second;
}

ConnectionKeywords KeywordsOf(PGconn* connection) { return Take(PQconninfo(connection)); }

ConnectionKeywords Complete(const ConnectionKeywords& keywords, SessionOptions options) {
  ConnectionKeywords complete = Expand(keywords);
  const ConnectionKeywords environment = Take(PQconndefaults());
  const auto value = [&](std::string_view keyword) {
    const std::string_view given = Find(complete, keyword);
    return given.empty() ? Find(environment, keyword) : given;
  };
  if (!value("service").empty()) return complete;
  for (const auto& [keyword, limit] : kLimits) {
    if (value(keyword).empty()) complete.emplace_back(keyword, limit);
  }
  if (options == SessionOptions::Sent) {
    complete.emplace_back("options", std::string(kSessionOptions).append(value("options")));
  }
  return complete;
}

}  // namespace pq
