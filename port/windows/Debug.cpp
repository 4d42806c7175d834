#include "port/Debug.h"

#include <windows.h>

namespace port {

void WriteToPlatformDebugOutput(const wchar_t* line) { OutputDebugStringW(line); }

}  // namespace port
