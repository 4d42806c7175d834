#pragma once

#include "TirelScada.h"

// PostgreSQL that may lack TimescaleDB.
class PostgreSQL : public TirelScada {
 public:
  PostgreSQL(const wchar_t* host, int port, const wchar_t* database, const wchar_t* user,
             const wchar_t* password);
};
