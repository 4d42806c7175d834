#include "DbmsAPI/Diagnostics.h"

#include <utility>

#include "port/Debug.h"
#include "port/InvalidParameter.h"

void SetDbmsDebugSink(std::function<void(const wchar_t*)> sink) { sys::SetDebugSink(std::move(sink)); }

void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t*)> handler) {
  sys::SetInvalidParameterHandler(std::move(handler));
}
