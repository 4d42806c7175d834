#include "historian/command/Console.h"

#include <fcntl.h>
#include <io.h>
#include <windows.h>
// The order matters: shellapi.h builds on windows.h.
#include <shellapi.h>

#include <atomic>
#include <csignal>
#include <cstdio>

#include "port/Utf8.h"

namespace historian::command {
namespace {

// The system calls Note on a thread of its own.
std::atomic<int> noted = 0;

// A second event ends the program at once.
BOOL WINAPI Note(DWORD event) {
  if ((event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT) || noted != 0) return FALSE;
  noted = event == CTRL_C_EVENT ? SIGINT : SIGTERM;
  return TRUE;
}

}  // namespace

// main's arguments cannot be used: they are in the system's code page, which lacks most characters.
std::vector<std::string> Arguments(int, char**) {
  int count = 0;
  wchar_t** const wide = CommandLineToArgvW(GetCommandLineW(), &count);
  std::vector<std::string> arguments;
  for (int i = 1; i < count; ++i) arguments.push_back(sys::ToUtf8(wide[i]));
  LocalFree(wide);
  return arguments;
}

Console StandardOutput() {
  _setmode(_fileno(stdout), _O_BINARY);
  _setmode(_fileno(stderr), _O_BINARY);
  SetConsoleOutputCP(CP_UTF8);
  const HANDLE output = GetStdHandle(STD_OUTPUT_HANDLE);
  Console console;
  DWORD mode = 0;
  console.interactive = GetConsoleMode(output, &mode) != 0 &&
                        SetConsoleMode(output, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING) != 0;
  CONSOLE_SCREEN_BUFFER_INFO info = {};
  if (GetConsoleScreenBufferInfo(output, &info)) {
    console.columns = static_cast<std::size_t>(info.srWindow.Right - info.srWindow.Left + 1);
  }
  return console;
}

void DeferInterrupts() { SetConsoleCtrlHandler(Note, TRUE); }

int InterruptNoted() { return noted; }

}  // namespace historian::command
