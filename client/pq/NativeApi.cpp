#include "NativeApi.h"

#include <libpq-fe.h>

#include "Calls.h"
#include "Silence.h"

namespace pq {
namespace {

pgAPI EntryPoints() {
  pgAPI api;
  api.PQexec = Exec;
  api.PQresultStatus = [](const PGresult* result) { return static_cast<int>(::PQresultStatus(result)); };
  api.PQresultErrorMessage = [](const PGresult* result) {
    char* const reason = ReasonGivenUp(result);
    return reason ? reason : ::PQresultErrorMessage(result);
  };
  api.PQresultErrorField = ::PQresultErrorField;
  api.PQclear = ::PQclear;
  api.PQputCopyData = PutCopyData;
  api.PQputCopyEnd = PutCopyEnd;
  api.PQgetResult = GetResult;
  api.PQerrorMessage = [](const PGconn* connection) {
    char* const reason = ReasonGivenUp(connection);
    return reason ? reason : ::PQerrorMessage(connection);
  };
  api.PQexecParams = ExecParams;
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
