#pragma once

#include <cstdint>

#include "historian/CopyRows.h"
#include "historian/Link.h"

namespace historian {

// Stores rows in tag history inside the caller's transaction, and returns the number of new ones. The rows
// are copied straight into the table. If some are stored already, the copy is repeated without these. If
// finding them would mean reading much, or another session interferes, the rows are copied through a
// temporary table. Throws an Error, after which the caller must roll back.
std::int64_t StoreRows(Link& link, const CopyRows& copy);

}  // namespace historian
