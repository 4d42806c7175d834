#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "DbmsAPI/Dbms.h"

// All objects that the factory has made, oldest first. Entries of destroyed objects stay until the next
// broadcast.
extern std::vector<std::weak_ptr<Dbms>> InstanceRegistry;

// Guards InstanceRegistry, nothing else.
extern std::mutex RegistryMutex;
