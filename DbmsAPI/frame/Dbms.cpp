#include "DbmsAPI/Dbms.h"

#include <SQLAPI.h>

Dbms::Dbms(const wchar_t* host_, int port_, const wchar_t* database_, const wchar_t* user_,
           const wchar_t* password_)
    : type(static_cast<DbmsType>(-1)),
      host(host_),
      port(port_),
      database(database_),
      user(user_),
      password(password_),
      connection(std::make_shared<SAConnection>()) {}

Dbms::Dbms(const Dbms& other) = default;
Dbms& Dbms::operator=(const Dbms& other) = default;
Dbms::~Dbms() = default;

std::shared_ptr<SAConnection> Dbms::GetConnection() { return connection; }

const wchar_t* Dbms::GetLastError() { return lastError.c_str(); }

bool Dbms::GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>&) {
  return false;
}

bool Dbms::CompressChunk(const wchar_t*) { return false; }
