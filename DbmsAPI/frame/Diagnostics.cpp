#include "../Diagnostics.h"

#include <utility>

#include "port/Debug.h"
#include "port/InvalidParameter.h"

void SetDbmsDebugSink(std::function<void(const wchar_t*)> sink) { port::SetDebugSink(std::move(sink)); }

void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t*)> handler) {
  port::SetInvalidParameterHandler(std::move(handler));
}
