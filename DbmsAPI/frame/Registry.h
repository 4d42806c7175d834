#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "DbmsAPI/Dbms.h"

// Every object that the factory handed out, in the order of their making. Entries of objects that are gone
// stay until the next broadcast.
extern std::vector<std::weak_ptr<Dbms>> InstanceRegistry;

// Guards InstanceRegistry, nothing else.
extern std::mutex RegistryMutex;
