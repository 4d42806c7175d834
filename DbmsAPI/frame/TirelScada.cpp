#include "DbmsAPI/TirelScada.h"

TirelScada::TirelScada(const wchar_t* host_, int port_, const wchar_t* database_, const wchar_t* user_,
                       const wchar_t* password_)
    : Dbms(host_, port_, database_, user_, password_), timescaleEnabled(true) {
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
