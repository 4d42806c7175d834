#include "platform/Process.h"

#include <windows.h>
// The order matters: psapi.h builds on windows.h.
#include <psapi.h>

#include <cstdlib>
#include <stdexcept>
#include <string>

namespace platform {
namespace {

using SetInRuntime = int(__cdecl*)(const char* name, const char* value);

}  // namespace

int ProcessId() { return static_cast<int>(GetCurrentProcessId()); }

long ResidentKilobytes() {
  PROCESS_MEMORY_COUNTERS counters = {};
  if (!GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters)) {
    throw std::runtime_error("the process does not know its memory");
  }
  return static_cast<long>(counters.WorkingSetSize / 1024);
}

// Each C runtime of a process has a separate environment, and libpq uses another runtime than the tests.
void SetVariable(const char* name, const char* value) {
  const char* const text = value ? value : "";
  _putenv_s(name, text);
  if (const HMODULE other = GetModuleHandleW(L"ucrtbase.dll")) {
    const auto set =
        reinterpret_cast<SetInRuntime>(reinterpret_cast<void*>(GetProcAddress(other, "_putenv_s")));
    if (set) set(name, text);
  }
}

}  // namespace platform
