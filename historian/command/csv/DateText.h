#pragma once

#include <chrono>
#include <optional>
#include <string_view>

#include "Times.h"

namespace historian::command {

// A time as written in a text, before its zone is known.
struct WrittenTime {
  std::chrono::local_time<std::chrono::microseconds> local;
  std::optional<std::chrono::minutes> offset;  // east of Greenwich, if the text has it
};

// Reads a time of a kind other than the epoch kinds. Returns what is wrong with the text, as the end of a
// sentence; null when nothing is.
const char* ReadWrittenTime(std::string_view text, TimeFormat::Kind kind, WrittenTime& written);

// Read only a date or a time of day, and remove it from the front of the text. Return false if there is none.
bool TakeDate(std::string_view& text, TimeFormat::Kind kind, std::chrono::year_month_day& date);
bool TakeClock(std::string_view& text, std::chrono::microseconds& clock, bool& finer);

}  // namespace historian::command
