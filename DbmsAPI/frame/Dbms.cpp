#include "DbmsAPI/Dbms.h"

#include "DbmsAPI/frame/Operation.h"

Dbms::Dbms(const wchar_t* serverHost, int serverPort, const wchar_t* databaseName, const wchar_t* userName,
           const wchar_t* userPassword)
    : type(static_cast<DbmsType>(-1)),
      host(OptionalText(serverHost)),
      port(serverPort),
      database(OptionalText(databaseName)),
      user(OptionalText(userName)),
      password(OptionalText(userPassword)),
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
