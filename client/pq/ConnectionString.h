#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pq {

// Connection keywords of libpq with their values, in UTF-8. The last value of a repeated keyword counts. A
// `dbname` may itself hold keywords, which take its place.
using ConnectionKeywords = std::vector<std::pair<std::string, std::string>>;

// Reads `[server@][database][;options]`. The server ends at the first '@', so a database part with an '@'
// needs one before it (`@user=a@b`). The options begin at the first ';' after it that is not in a quoted
// value (`dbname='a;b'`). The server is a host, or the path of a Unix socket's directory, with the port after
// its last comma: `db1,5432`, or `db1,db2,5432` for several hosts. What is empty, and a port of 0, is left to
// libpq and its environment. Server, user and password override keywords in the database part, and those
// override the environment; the client encoding is always UTF-8.
ConnectionKeywords ReadConnectionString(std::wstring_view text, std::wstring_view user,
                                        std::wstring_view password);

}  // namespace pq
