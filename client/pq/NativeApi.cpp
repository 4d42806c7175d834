#include "NativeApi.h"

#include <libpq-fe.h>

namespace pq {
namespace {

pgAPI EntryPoints() {
  pgAPI api;
  api.PQexec = ::PQexec;
  api.PQresultStatus = [](const PGresult* result) { return static_cast<int>(::PQresultStatus(result)); };
  api.PQresultErrorMessage = ::PQresultErrorMessage;
  api.PQresultErrorField = ::PQresultErrorField;
  api.PQclear = ::PQclear;
  api.PQputCopyData = ::PQputCopyData;
  api.PQputCopyEnd = ::PQputCopyEnd;
  api.PQgetResult = ::PQgetResult;
  api.PQerrorMessage = ::PQerrorMessage;
  api.PQexecParams = ::PQexecParams;
  api.PQntuples = ::PQntuples;
  api.PQgetvalue = ::PQgetvalue;
  api.PQgetlength = ::PQgetlength;
  api.PQgetisnull = ::PQgetisnull;
  api.PQcmdTuples = ::PQcmdTuples;
  api.PQstatus = [](const PGconn* connection) { return static_cast<int>(::PQstatus(connection)); };
  api.PQsocket = ::PQsocket;
  return api;
}

}  // namespace

pgAPI& NativeApi() {
  static pgAPI api = EntryPoints();
  return api;
}

}  // namespace pq
