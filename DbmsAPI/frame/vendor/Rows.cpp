#include "DbmsAPI/frame/Rows.h"

#include "DbmsAPI/frame/Epoch.h"

// The vendor's documented interface has no choice of the format.
void AskForBinary(SACommand&, bool) {}

void ReadText(const SAField& field, std::wstring& text) { text = field.asString(); }

bool HasText(const SAField& field, std::string_view utf8) {
  return sys::ToUtf8(static_cast<const SAChar*>(field.asString())) == utf8;
}

std::int64_t CalendarSeconds(const SAField& field) { return SecondsInUtc(field.asDateTime()); }
