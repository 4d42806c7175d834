#include "CopyText.h"

#include <cfloat>
#include <charconv>
#include <cmath>

#include "port/Utf8.h"

bool IsStorable(const LogSample& sample) {
  return sample.timeMs >= 1 && !sample.tagName.empty() && std::isfinite(sample.value);
}

std::string CopyName(const std::wstring& tagName) {
  std::string escaped;
  for (const char c : port::ToUtf8(tagName)) {
    switch (c) {
      case '\t':
        escaped += "\\t";
        break;
      case '\n':
        escaped += "\\n";
        break;
      case '\r':
        escaped += "\\r";
        break;
      case '\\':
        escaped += "\\\\";
        break;
      default:
        escaped += c;
    }
  }
  return escaped;
}

void AppendCopyLine(std::string& text, std::int64_t timeMs, const std::string& copyName, double value) {
  char number[32];
  char* const end = number + sizeof number;

  char* at = std::to_chars(number, end, timeMs / 1000).ptr;
  const auto milliseconds = static_cast<int>(timeMs % 1000);
  *at++ = '.';
  *at++ = static_cast<char>('0' + milliseconds / 100);
  *at++ = static_cast<char>('0' + milliseconds / 10 % 10);
  *at++ = static_cast<char>('0' + milliseconds % 10);
  *at++ = '\t';
  text.append(number, at);

  text.append(copyName);

  if (value == DBL_MAX) {
    text.append("\t\\N\n");
    return;
  }
  number[0] = '\t';
  at = std::to_chars(number + 1, end, value, std::chars_format::general, 10).ptr;
  *at++ = '\n';
  text.append(number, at);
}
