#include "DbmsAPI/TirelScada.h"

TirelScada::TirelScada(const wchar_t* serverHost, int serverPort, const wchar_t* databaseName,
                       const wchar_t* userName, const wchar_t* userPassword)
    : Dbms(serverHost, serverPort, databaseName, userName, userPassword), timescaleEnabled(true) {
  type = DbmsType::TirelScada;
}

TirelScada::TirelScada(const TirelScada& other)
    : Dbms(other),
      timescaleEnabled(other.timescaleEnabled),
      lastSqlState(other.lastSqlState),
      utf8NameCache(other.utf8NameCache),
      copyBuffer(other.copyBuffer) {}

TirelScada& TirelScada::operator=(const TirelScada& other) {
  if (this == &other) return *this;
  Dbms::operator=(other);
  timescaleEnabled = other.timescaleEnabled;
  lastSqlState = other.lastSqlState;
  tagTexts.reset();
  utf8NameCache = other.utf8NameCache;
  copyBuffer = other.copyBuffer;
  return *this;
}

TirelScada::~TirelScada() = default;
