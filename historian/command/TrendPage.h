#pragma once

#include <string>

#include "Zone.h"
#include "historian/Trend.h"

namespace historian::command {

// Writes a self-contained page with a chart of each tag: HTML with drawings and without scripts, light or
// dark like the reader's system. Throws a Refusal when the file cannot be written.
void WriteTrendPage(const std::string& path, const Trend& trend, Time from, Time to, const Zone& zone);

}  // namespace historian::command
