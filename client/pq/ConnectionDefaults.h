#pragma once

#include "ConnectionString.h"

typedef struct pg_conn PGconn;

namespace pq {

// The last value of a keyword; empty when it has none.
std::string_view Find(const ConnectionKeywords& keywords, std::string_view keyword);

// The keywords with which a connection was made, those of the environment too.
ConnectionKeywords KeywordsOf(PGconn* connection);

// Whether the settings that a session needs to read numbers unchanged are part of the keyword `options`. Some
// poolers refuse that keyword.
enum class SessionOptions { Sent, LeftOut };

// Returns the keywords to connect with. A database text is replaced by the keywords in it, except `hostaddr`
// if a server is named. Adds time limits unless the keywords or libpq's environment set them. Adds none if a
// service is named, since its file may set them. Throws a connect failure when the database text cannot be
// read.
ConnectionKeywords Complete(const ConnectionKeywords& keywords, SessionOptions options);

}  // namespace pq
