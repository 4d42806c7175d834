#include "port/DebugOutput.h"

#include <cstdio>
#include <string>

#include "port/Utf8.h"

namespace sys {

void WriteDebugOutput(const wchar_t* line) {
  const std::string text = ToUtf8(line);
  std::fwrite(text.data(), 1, text.size(), stderr);
}

}  // namespace sys
