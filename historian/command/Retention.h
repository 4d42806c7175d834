#pragma once

#include <optional>

#include "Server.h"
#include "Zone.h"

namespace historian::command {

// How many days the server keeps samples; no value when it keeps them for ever.
std::optional<double> RetentionDays(Server& server);
// The time of the oldest sample; no value when there is none.
std::optional<Time> OldestSample(Server& server);

}  // namespace historian::command
