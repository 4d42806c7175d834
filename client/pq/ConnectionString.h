#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pq {

// Connection keywords of libpq with their values, in UTF-8. Of a repeated keyword the last counts; a `dbname`
// may itself hold keywords, which count as if they stood in its place.
using ConnectionKeywords = std::vector<std::pair<std::string, std::string>>;

// Reads `[server@][database][;options]`. The server ends at the first '@', the options begin at the first ';'
// after it that is not in a quoted value (`dbname='a;b'`). The server is a host or the path of a Unix
// socket's directory, with the port after its last comma (`db1,5432`; `db1,db2,5432` is a list of hosts).
// What is empty, and a port 0, is left to libpq and its environment. Server, user and password count over
// keywords in the database part; those count over the environment, but the client encoding is always UTF-8. A
// database part with an '@' of its own needs one before it:
// `@user=a@b`.
ConnectionKeywords ReadConnectionString(std::wstring_view text, std::wstring_view user,
                                        std::wstring_view password);

}  // namespace pq
