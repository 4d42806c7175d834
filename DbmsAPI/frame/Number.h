#pragma once

#include <string>
#include <string_view>

// The shortest text that reads back as the same double, fixed or exponential, whichever is shorter:
// 1700000000.123 and 1.7e+09.
std::wstring ShortestText(double value);

// The decimal number that a text begins with, after blanks and a sign; 0 when it begins with none.
int LeadingInteger(std::wstring_view text);
