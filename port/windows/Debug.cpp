#include "port/Debug.h"

#include <windows.h>

namespace sys {

void WriteToPlatformDebugOutput(const wchar_t* line) { OutputDebugStringW(line); }

}  // namespace sys
