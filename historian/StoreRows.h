#pragma once

#include <cstdint>

#include "historian/CopyRows.h"
#include "historian/Link.h"

namespace historian {

// Stores rows in tag history, inside a transaction of the caller's; gives the number of those that were new.
// They go straight into the table. Where one of them is there already, those that are there are left out;
// where that would mean reading much, or another session interferes, they go over a temporary table. Throws
// an Error, with the transaction to be rolled back.
std::int64_t StoreRows(Link& link, const CopyRows& copy);

}  // namespace historian
