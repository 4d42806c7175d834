#pragma once

// Details of a failure. DBMSAPI_SQLAPI chooses the implementation.

#include <pgAPI.h>

#include <string>

// The SQLSTATE of a failure, empty when it has none.
std::string SqlStateOf(const SAException& error);
std::string SqlStateOf(const pgAPI& api, const PGresult* result);

// The text of a failed result in UTF-8; empty for a null one.
std::string TextOf(const pgAPI& api, const PGresult* result);
