#include <SQLAPI.h>

#include <algorithm>

#include "DbmsAPI/frame/Registry.h"

void Dbms::NotifyRoleChange() {
  if (type != DbmsType::TirelScada || !hostSelector) return;
  host = hostSelector(nullptr);
  connection->Destroy();
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
  for (const auto& dbms : living) dbms->NotifyRoleChange();
}
