#pragma once

#include <cstdint>

#include "historian/CopyRows.h"
#include "historian/Link.h"

namespace historian {

// Stores rows in tag history, inside a transaction of the caller's; gives the number of those that were new.
// They go straight into the table; only where one of them is there already they take the way over a temporary
// table. Throws an Error, with the transaction to be rolled back.
std::int64_t StoreRows(Link& link, const CopyRows& copy);

}  // namespace historian
