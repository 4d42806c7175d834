#pragma once

#include <cstdint>
#include <functional>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

#include "Server.h"
#include "Zone.h"

namespace historian::command {

// Selects alarm state changes; a field that is not set matches all.
struct AlarmFilter {
  Time from{}, to{};              // both included
  std::string prefix;             // of the tag
  std::vector<std::string> tags;  // empty: any
  std::optional<int> status, type, level, area;
  bool open = false;  // only alarms that have not cleared
  std::size_t limit = 100;
};

struct AlarmRow {
  Time time{};
  std::string tag;
  double value = 0;
  std::string label;
  int status = 0, type = 0, level = 0, area = 0;
  Time occurred{};
  std::optional<Time> cleared;
};

// Reads state changes, newest first.
void ReadAlarms(Server& server, const AlarmFilter& filter, const std::function<void(const AlarmRow&)>& alarm);

nlohmann::json ToJson(const AlarmRow& alarm);

}  // namespace historian::command
