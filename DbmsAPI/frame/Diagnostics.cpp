#include "DbmsAPI/frame/Diagnostics.h"

#include <mutex>
#include <utility>

#include "DbmsAPI/Diagnostics.h"
#include "DbmsAPI/TirelScada.h"
#include "DbmsAPI/frame/Format.h"
#include "port/DebugOutput.h"

namespace {

// A function of the process that clients may replace.
class Replaceable {
 public:
  using Function = std::function<void(const wchar_t*)>;

  void Set(Function function) {
    std::lock_guard lock(mutex_);
    function_ = std::move(function);
  }

  // Returns a copy, to be called without the lock: the function may itself use the library.
  Function Get() {
    std::lock_guard lock(mutex_);
    return function_;
  }

 private:
  std::mutex mutex_;
  Function function_;
};

Replaceable debugSink;
Replaceable invalidParameterHandler;

}  // namespace

void SetDbmsDebugSink(std::function<void(const wchar_t*)> sink) { debugSink.Set(std::move(sink)); }

void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t*)> handler) {
  invalidParameterHandler.Set(std::move(handler));
}

std::string LastSqlState(const Dbms& dbms) {
  const auto* object = dynamic_cast<const TirelScada*>(&dbms);
  return object ? object->LastSqlState() : std::string();
}

void WriteDebugLine(const std::wstring& line) {
  const auto sink = debugSink.Get();
  sink ? sink(line.c_str()) : sys::WriteDebugOutput(line.c_str());
}

std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text) {
  if (text.size() < capacity) return text;
  const std::wstring reason =
      Format(L"invalid parameter: {} characters do not fit a buffer of {}\n", text.size(), capacity);
  const auto handler = invalidParameterHandler.Get();
  handler ? handler(reason.c_str()) : WriteDebugLine(reason);
  return std::nullopt;
}
