#include "DbmsAPI/frame/EpochText.h"

#include "DbmsAPI/frame/Format.h"

double EpochSeconds(std::int64_t milliseconds) { return static_cast<double>(milliseconds) / 1000.0; }

std::wstring EpochSecondsText(std::int64_t milliseconds) { return ShortestText(EpochSeconds(milliseconds)); }
