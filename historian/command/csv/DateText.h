#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "Times.h"

namespace historian::command {

// A time as a text writes it, before its zone is known.
struct WrittenTime {
  std::chrono::local_time<std::chrono::microseconds> local;
  std::optional<std::chrono::minutes> offset;  // east of Greenwich, where the text names it
};

// What a text is wrong in, as the end of a sentence; empty when it is a time of the kind, which is no epoch.
const char* ReadWrittenTime(std::string_view text, TimeFormat::Kind kind, WrittenTime& written);

// The parts alone. Each takes what it reads from the front of the text; false when it cannot.
bool TakeDate(std::string_view& text, TimeFormat::Kind kind, std::chrono::year_month_day& date);
bool TakeClock(std::string_view& text, std::chrono::microseconds& clock, bool& finer);

}  // namespace historian::command
