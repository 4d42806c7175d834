#include "ConnectionDefaults.h"

#include <libpq-fe.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "Errors.h"

namespace pq {
namespace {

// A connection that cannot be made is given up after 10 seconds; one whose other end is silent after 30, or
// after 25 while only an answer is awaited.
constexpr std::pair<const char*, const char*> kLimits[] = {{"connect_timeout", "10"},
                                                           {"keepalives_idle", "10"},
                                                           {"keepalives_interval", "5"},
                                                           {"keepalives_count", "3"},
                                                           {"tcp_user_timeout", "30000"}};

// Of what the server does not report. Without it numbers may arrive rounded.
constexpr char kSessionOptions[] = "-c extra_float_digits=1";

constexpr char kUnreadable[] = "The database text holds keywords that cannot be read";

struct FreeOptions {
  void operator()(PQconninfoOption* options) const { PQconninfoFree(options); }
};
using Options = std::unique_ptr<PQconninfoOption, FreeOptions>;

// The value of a keyword in libpq's environment; empty when it has none.
std::string_view Find(const Options& options, std::string_view keyword) {
  for (const PQconninfoOption* option = options.get(); option && option->keyword; ++option) {
    if (option->keyword == keyword) return option->val ? option->val : "";
  }
  return {};
}

// The last value of a keyword; empty when it has none.
std::string_view Find(const ConnectionKeywords& keywords, std::string_view keyword) {
  const auto found =
      std::find_if(keywords.rbegin(), keywords.rend(), [&](const auto& one) { return one.first == keyword; });
  return found == keywords.rend() ? std::string_view() : found->second;
}

bool HoldsKeywords(std::string_view database) {
  return database.find('=') != std::string_view::npos || database.starts_with("postgresql://") ||
         database.starts_with("postgres://");
}

// libpq would do so, but quotes the text, with a password in it, when it cannot read it.
ConnectionKeywords Expand(const ConnectionKeywords& keywords) {
  const bool namesHost = !Find(keywords, "host").empty();
  ConnectionKeywords expanded;
  for (const auto& [name, value] : keywords) {
    if (name != "dbname" || !HoldsKeywords(value)) {
      expanded.emplace_back(name, value);
      continue;
    }
    char* quoting = nullptr;
    const Options options(PQconninfoParse(value.c_str(), &quoting));
    PQfreemem(quoting);
    if (!options) throw ConnectFailure(kUnreadable, {});
    for (const PQconninfoOption* option = options.get(); option->keyword; ++option) {
      const bool overruled = namesHost && option->keyword == std::string_view("hostaddr");
      if (option->val && !overruled) expanded.emplace_back(option->keyword, option->val);
    }
  }
  return expanded;
}

bool NamesService(const ConnectionKeywords& keywords, const Options& environment) {
  return !Find(keywords, "service").empty() || !Find(environment, "service").empty();
}

}  // namespace

ConnectionKeywords Complete(const ConnectionKeywords& keywords) {
  ConnectionKeywords complete = Expand(keywords);
  const Options environment(PQconndefaults());
  if (NamesService(complete, environment)) return complete;
  for (const auto& [keyword, value] : kLimits) {
    if (Find(complete, keyword).empty() && Find(environment, keyword).empty()) {
      complete.emplace_back(keyword, value);
    }
  }
  return complete;
}

ConnectionKeywords WithSessionOptions(ConnectionKeywords keywords) {
  const Options environment(PQconndefaults());
  if (NamesService(keywords, environment)) return keywords;
  std::string_view given = Find(keywords, "options");
  if (given.empty()) given = Find(environment, "options");
  std::string options = kSessionOptions;
  if (!given.empty()) options.append(" ").append(given);
  keywords.emplace_back("options", std::move(options));
  return keywords;
}

}  // namespace pq
