#include "DbmsAPI/frame/Rows.h"

#include "DbmsAPI/frame/Epoch.h"

void AskForBinary(SACommand& command, bool withTimes) { command.setBinaryResults(withTimes); }

void ReadText(const SAField& field, std::wstring& text) { field.readText(text); }

bool HasText(const SAField& field, std::string_view utf8) { return field.isText(utf8); }

std::int64_t CalendarSeconds(const SAField& field) {
  std::int64_t seconds = 0;
  return field.readCalendarSeconds(seconds) ? seconds : SecondsInUtc(field.asDateTime());
}
