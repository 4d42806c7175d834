#include "port/DebugOutput.h"

#include <windows.h>

namespace sys {

void WriteDebugOutput(const wchar_t* line) { OutputDebugStringW(line); }

}  // namespace sys
