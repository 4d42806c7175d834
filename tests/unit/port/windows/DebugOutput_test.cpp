// The text that a debugger of the process receives, and that a viewer of all processes' debug output reads.

#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>
#include <cstring>
#include <string>
#include <thread>

#include "port/DebugOutput.h"

namespace {

// The system notifies a debugger in wide characters and, if nothing handles those, in the system's code page.
// Wine does only the latter.
constexpr DWORD kWideText = 0x4001000A;    // DBG_PRINTEXCEPTION_WIDE_C
constexpr DWORD kNarrowText = 0x40010006;  // DBG_PRINTEXCEPTION_C

std::wstring toldWide;
std::string toldNarrow;

// Acts as a debugger that handles nothing.
LONG CALLBACK Note(EXCEPTION_POINTERS* pointers) {
  const EXCEPTION_RECORD& record = *pointers->ExceptionRecord;
  const ULONG_PTR* text = record.ExceptionInformation;  // its length with the terminator, and its address
  if (record.ExceptionCode == kWideText) {
    toldWide.assign(reinterpret_cast<const wchar_t*>(text[1]), text[0] - 1);
  } else if (record.ExceptionCode == kNarrowText) {
    toldNarrow.assign(reinterpret_cast<const char*>(text[1]), text[0] - 1);
  }
  return EXCEPTION_CONTINUE_SEARCH;
}

std::string InTheSystemsCodePage(const std::wstring& text) {
  char bytes[256];
  const int count = WideCharToMultiByte(CP_ACP, 0, text.data(), static_cast<int>(text.size()), bytes,
                                        sizeof bytes, nullptr, nullptr);
  return std::string(bytes, static_cast<std::size_t>(count));
}

// The shared memory that passes debug output to a viewer.
class Viewer {
 public:
  Viewer()
      : ready_(CreateEventW(nullptr, FALSE, TRUE, L"DBWIN_BUFFER_READY")),
        data_(CreateEventW(nullptr, FALSE, FALSE, L"DBWIN_DATA_READY")),
        mapping_(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, sizeof(Buffer),
                                    L"DBWIN_BUFFER")),
        buffer_(static_cast<Buffer*>(MapViewOfFile(mapping_, FILE_MAP_READ, 0, 0, sizeof(Buffer)))) {}
  ~Viewer() {
    UnmapViewOfFile(buffer_);
    for (const HANDLE handle : {mapping_, data_, ready_}) CloseHandle(handle);
  }
  Viewer(const Viewer&) = delete;
  Viewer& operator=(const Viewer&) = delete;

  // Waits for a text of this process. All processes share the memory, so it skips the texts of others,
  // which run at the same time and write debug output too.
  std::string Read() {
    if (buffer_ == nullptr) return "no shared memory";
    for (;;) {
      WaitForSingleObject(data_, INFINITE);
      const bool ours = buffer_->process == GetCurrentProcessId();
      const std::string text(buffer_->text, strnlen(buffer_->text, sizeof buffer_->text));
      SetEvent(ready_);
      if (ours) return text;
    }
  }

 private:
  struct Buffer {
    DWORD process;
    char text[4096 - sizeof(DWORD)];
  };

  HANDLE ready_, data_, mapping_;
  Buffer* buffer_;
};

TEST(DebugOutput, ReachesADebuggerWhole) {
  const std::wstring line = L"on exception(3, 7) - \u00e4 \U0001F600\n";
  void* handler = AddVectoredExceptionHandler(1, Note);
  sys::WriteDebugOutput(line.c_str());
  RemoveVectoredExceptionHandler(handler);
  EXPECT_EQ(toldNarrow, InTheSystemsCodePage(line));
  if (!toldWide.empty()) {
    EXPECT_EQ(toldWide, line);
  }
}

TEST(DebugOutput, ReachesAViewer) {
  Viewer viewer;
  // The system discards a text if the memory has not been free for ten seconds, so write it until it has been
  // read.
  std::atomic<bool> read = false;
  std::thread writer([&] {
    while (!read) sys::WriteDebugOutput(L"on exception(3, 7) - x\n");
  });
  EXPECT_EQ(viewer.Read(), "on exception(3, 7) - x\n");
  read = true;
  writer.join();
}

}  // namespace
