#pragma once

// Details of a failure. DBMSAPI_SQLAPI chooses the implementation.

#include <pgAPI.h>

#include <string>

// The SQLSTATE of a failure, empty when it has none.
std::string SqlStateOf(const SAException& error);
std::string SqlStateOf(const pgAPI& api, const PGresult* result);

// The text of a failed result, or of the connection it came over if it has none or is null. It is UTF-8
// without line feeds at its end.
std::string TextOf(const pgAPI& api, const PGresult* result, const PGconn* connection);
