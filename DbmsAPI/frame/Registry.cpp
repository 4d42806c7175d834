#include "DbmsAPI/frame/Registry.h"

std::vector<std::weak_ptr<Dbms>> InstanceRegistry;
std::mutex RegistryMutex;
