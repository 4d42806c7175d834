#pragma once

// Details of a failure. DBMSAPI_SQLAPI chooses the implementation.

#include <pgAPI.h>

#include <string>

// The SQLSTATE of a failure, empty when it has none.
std::string SqlStateOf(const SAException& error);
std::string SqlStateOf(const pgAPI& api, const PGresult* result);

// The error text of a failed result, or of its connection when the result is null or has no text. It is UTF-8
// without line feeds at its end.
std::string TextOf(const pgAPI& api, const PGresult* result, const PGconn* connection);
