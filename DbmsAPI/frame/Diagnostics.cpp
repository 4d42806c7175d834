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

  // Calls the function, or the default when it is empty. Not under the lock: it may use the library itself.
  template <class Default>
  void Call(const std::wstring& text, Default byDefault) {
    Function function;
    {
      std::lock_guard lock(mutex_);
      function = function_;
    }
    function ? function(text.c_str()) : byDefault(text);
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
  debugSink.Call(line, [](const std::wstring& text) { sys::WriteDebugOutput(text.c_str()); });
}

std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text) {
  if (text.size() < capacity) return text;
  invalidParameterHandler.Call(
      Format(L"invalid parameter: {} characters do not fit a buffer of {}\n", text.size(), capacity),
      WriteDebugLine);
  return std::nullopt;
}
