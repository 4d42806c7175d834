#include "DbmsAPI/frame/RoleChange.h"

#include <exception>

#include "DbmsAPI/frame/Registry.h"

namespace {

// Drops a connection at the end of its scope.
struct Dropping {
  SAConnection& connection;
  ~Dropping() { connection.Destroy(); }
};

}  // namespace

void SwitchHost(const std::function<const wchar_t*(const wchar_t*)>& selector, const wchar_t* current,
                std::wstring& host, SAConnection& connection) {
  const Dropping dropping{connection};
  const wchar_t* const chosen = selector ? selector(current) : nullptr;
  if (chosen) host = chosen;
}

void Dbms::NotifyRoleChange() {
  if (type != DbmsType::TirelScada || !hostSelector) return;
  SwitchHost(hostSelector, nullptr, host, *connection);
}

void Dbms::BroadcastRoleChange() {
  std::vector<std::shared_ptr<Dbms>> living;
  {
    std::lock_guard lock(RegistryMutex);
    for (const auto& entry : InstanceRegistry) {
      if (auto dbms = entry.lock()) living.push_back(std::move(dbms));
    }
    std::erase_if(InstanceRegistry, [](const std::weak_ptr<Dbms>& entry) { return entry.expired(); });
  }
  // Outside the lock: a callback may itself call GetDbms.
  std::exception_ptr failure;
  for (const auto& dbms : living) {
    try {
      dbms->NotifyRoleChange();
    } catch (...) {
      if (!failure) failure = std::current_exception();
    }
  }
  if (failure) std::rethrow_exception(failure);
}
