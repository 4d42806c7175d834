#include "DbmsAPI/frame/Diagnostics.h"

#include <mutex>
#include <utility>

#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/TirelScada.h"
#include "DbmsAPI/frame/Format.h"
#include "port/DebugOutput.h"

namespace {

using Function = std::function<void(const wchar_t*)>;

std::mutex mutex;  // guards the functions of the process that clients may replace
Function debugSink;
Function invalidParameterHandler;

void Replace(Function& function, Function other) {
  std::lock_guard lock(mutex);
  function.swap(other);
}

// To be called without the lock: the function may itself use the library.
Function Copy(const Function& function) {
  std::lock_guard lock(mutex);
  return function;
}

}  // namespace

void SetDbmsDebugSink(std::function<void(const wchar_t*)> sink) { Replace(debugSink, std::move(sink)); }

void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t*)> handler) {
  Replace(invalidParameterHandler, std::move(handler));
}

std::string LastSqlState(const Dbms& dbms) {
  const auto* object = dynamic_cast<const TirelScada*>(&dbms);
  return object ? object->LastSqlState() : std::string();
}

void WriteDebugLine(const std::wstring& line) {
  const auto sink = Copy(debugSink);
  sink ? sink(line.c_str()) : sys::WriteDebugOutput(line.c_str());
}

std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text) {
  if (text.size() < capacity) return text;
  const std::wstring reason =
      Format(L"invalid parameter: {} characters do not fit a buffer of {}\n", text.size(), capacity);
  const auto handler = Copy(invalidParameterHandler);
  handler ? handler(reason.c_str()) : WriteDebugLine(reason);
  return std::nullopt;
}
