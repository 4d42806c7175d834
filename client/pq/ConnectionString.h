#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace pq {

// Connection keywords of libpq with their values, in UTF-8. The last value of a repeated keyword counts. A
// `dbname` may itself hold keywords, which take its place.
using ConnectionKeywords = std::vector<std::pair<std::string, std::string>>;

// Reads the text that SAConnection::Connect takes. A database part with an '@' needs one before it
// (`@user=a@b`). The port is after the last comma of the server: `db1,5432`, or `db1,db2,5432` for several
// hosts. For empty parts, and a port of 0, libpq uses its environment and defaults. Server, user and password
// override keywords in the database part.
ConnectionKeywords ReadConnectionString(std::wstring_view text, std::wstring_view user,
                                        std::wstring_view password);

}  // namespace pq
