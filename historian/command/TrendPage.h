#pragma once

#include <string>

#include "Zone.h"
#include "historian/Trend.h"

namespace historian::command {

// Writes a page with a chart of each tag that needs no other file and no program: drawings within HTML, in
// light or dark as the reader's system is. Throws a Refusal when the file cannot be written.
void WriteTrendPage(const std::string& path, const Trend& trend, Time from, Time to, const Zone& zone);

}  // namespace historian::command
