#include "DbmsAPI/frame/Registry.h"

#include "DbmsAPI/PostgreSQL.h"

std::vector<std::weak_ptr<Dbms>> InstanceRegistry;
std::mutex RegistryMutex;

std::shared_ptr<Dbms> Dbms::GetDbms(DbmsType type, const wchar_t* host, int port, const wchar_t* database,
                                    const wchar_t* user, const wchar_t* password) {
  std::shared_ptr<Dbms> dbms;
  switch (type) {
    case DbmsType::TirelScada: dbms.reset(new TirelScada(host, port, database, user, password)); break;
    case DbmsType::PostgreSQL: dbms.reset(new PostgreSQL(host, port, database, user, password)); break;
  }
  if (dbms) {
    std::lock_guard lock(RegistryMutex);
    InstanceRegistry.push_back(dbms);
  }
  return dbms;
}
