#include "DbmsAPI/TirelScada.h"

TirelScada::TirelScada(const wchar_t* serverHost, int serverPort, const wchar_t* databaseName,
                       const wchar_t* userName, const wchar_t* userPassword)
    : Dbms(serverHost, serverPort, databaseName, userName, userPassword), timescaleEnabled(true) {
  type = DbmsType::TirelScada;
}

TirelScada::~TirelScada() = default;
