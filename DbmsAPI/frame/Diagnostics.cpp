#include "DbmsAPI/Diagnostics.h"

#include <utility>

#include "DbmsAPI/TirelScada.h"
#include "port/Debug.h"
#include "port/InvalidParameter.h"

void SetDbmsDebugSink(std::function<void(const wchar_t*)> sink) { sys::SetDebugSink(std::move(sink)); }

void SetDbmsInvalidParameterHandler(std::function<void(const wchar_t*)> handler) {
  sys::SetInvalidParameterHandler(std::move(handler));
}

std::string LastSqlState(const Dbms& dbms) {
  const auto* object = dynamic_cast<const TirelScada*>(&dbms);
  return object ? object->LastSqlState() : std::string();
}
