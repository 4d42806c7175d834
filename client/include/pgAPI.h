#pragma once

// Native access to PostgreSQL's client library: its entry points and the connection in use.
//
//   auto* api = static_cast<pgAPI*>(connection.NativeAPI());
//   auto* handles = static_cast<pgConnectionHandles*>(connection.NativeHandles());
//   PGresult* result = api->PQexec(handles->conn, "vacuum");

#include <string>

#include "SQLAPI.h"

typedef struct pg_conn PGconn;
typedef struct pg_result PGresult;

// The members have the names of libpq's functions. PQresultStatus and PQstatus return libpq's ExecStatusType
// and ConnStatusType as numbers.
class SQLAPI_EXPORT pgAPI : public saAPI {
 public:
  PGresult* (*PQexec)(PGconn* connection, const char* query) = nullptr;
  int (*PQresultStatus)(const PGresult* result) = nullptr;
  char* (*PQresultErrorMessage)(const PGresult* result) = nullptr;
  // `field` is libpq's code of a field (PG_DIAG_...), 'C' for the SQLSTATE; null when the result has none.
  char* (*PQresultErrorField)(const PGresult* result, int field) = nullptr;
  void (*PQclear)(PGresult* result) = nullptr;
  int (*PQputCopyData)(PGconn* connection, const char* buffer, int bytes) = nullptr;
  int (*PQputCopyEnd)(PGconn* connection, const char* errorMessage) = nullptr;
  PGresult* (*PQgetResult)(PGconn* connection) = nullptr;
  char* (*PQerrorMessage)(const PGconn* connection) = nullptr;
  PGresult* (*PQexecParams)(PGconn* connection, const char* query, int parameters, const unsigned* types,
                            const char* const* values, const int* lengths, const int* formats,
                            int resultFormat) = nullptr;
  int (*PQntuples)(const PGresult* result) = nullptr;
  char* (*PQgetvalue)(const PGresult* result, int row, int column) = nullptr;
  int (*PQgetlength)(const PGresult* result, int row, int column) = nullptr;
  int (*PQgetisnull)(const PGresult* result, int row, int column) = nullptr;
  char* (*PQcmdTuples)(PGresult* result) = nullptr;
  int (*PQstatus)(const PGconn* connection) = nullptr;
  int (*PQsocket)(const PGconn* connection) = nullptr;
};

// An extension of this layer: the error text of a failed result, or of its connection when the result is null
// or has no text. It is UTF-8 without line feeds at its end, as in SAException. For data exceptions and
// violated constraints (SQLSTATE 22..., 23... and 44...) only the message itself is returned, because the
// lines after it may quote rows.
SQLAPI_EXPORT std::string ErrorText(const pgAPI& api, const PGresult* result, const PGconn* connection);

class SQLAPI_EXPORT pgConnectionHandles : public saConnectionHandles {
 public:
  PGconn* conn = nullptr;  // null while not connected
};
