#include "port/InvalidParameter.h"

#include <mutex>
#include <utility>

#include "port/Debug.h"
#include "port/Format.h"

namespace sys {
namespace {

std::mutex mutex;
InvalidParameterHandler currentHandler;

}  // namespace

void SetInvalidParameterHandler(InvalidParameterHandler handler) {
  std::lock_guard lock(mutex);
  currentHandler = std::move(handler);
}

void ReportInvalidParameter(const wchar_t* reason) {
  InvalidParameterHandler handler;
  {
    std::lock_guard lock(mutex);
    handler = currentHandler;
  }
  if (handler) {
    handler(reason);
  } else {
    WriteDebugLine(reason);
  }
}

std::optional<std::wstring> FitBuffer(std::size_t capacity, std::wstring text) {
  if (text.size() < capacity) return text;
  ReportInvalidParameter(
      Format(L"invalid parameter: {} characters do not fit a buffer of {}\n", text.size(), capacity).c_str());
  return std::nullopt;
}

}  // namespace sys
