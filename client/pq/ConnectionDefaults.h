#pragma once

#include "ConnectionString.h"

namespace pq {

// The keywords to connect with. Those that a database text holds take its place; a `hostaddr` among them does
// not count where the server is named. Limits of waiting are added for what neither the keywords nor libpq's
// environment decide; where a service is named, its file decides. Throws a connect failure when a database
// text cannot be read.
ConnectionKeywords Complete(const ConnectionKeywords& keywords);

// Adds what a session needs to read numbers unchanged, before the options that are given. A pooler may refuse
// it.
ConnectionKeywords WithSessionOptions(ConnectionKeywords keywords);

}  // namespace pq
