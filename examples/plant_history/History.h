#pragma once

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "Stage.h"
#include "Stretch.h"

namespace plant {

// Samples per tag, in the order of their times.
using History = std::unordered_map<std::wstring, std::vector<LogPoint>>;

std::int64_t Milliseconds(const LogPoint& point);

// What tag history holds of the file's tags between two instants in epoch seconds, both included.
History ReadHistory(Stage& stage, std::int64_t from, std::int64_t to);

// What it holds of a stretch.
History ReadStretch(Stage& stage, const Stretch& stretch);

}  // namespace plant
