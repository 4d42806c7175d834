#pragma once

#include <optional>

#include "Server.h"
#include "Zone.h"

namespace historian::command {

// How many days the server keeps samples; nothing where it keeps them for good.
std::optional<double> RetentionDays(Server& server);
// The oldest sample; nothing while there is none.
std::optional<Time> OldestSample(Server& server);

}  // namespace historian::command
