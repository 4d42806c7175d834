#pragma once

#include <nlohmann/json.hpp>

#include "historian/Health.h"

namespace historian::command {

const char* WordOf(Verdict verdict);  // ok, warning, failed

nlohmann::json ToJson(const HealthReport& report);

}  // namespace historian::command
