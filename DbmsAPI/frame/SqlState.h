#pragma once

#include <pgAPI.h>

#include <string>

// The SQLSTATE of a failure, empty when it has none. The body is chosen by DBMSAPI_SQLAPI.
std::string SqlStateOf(const SAException& error);
std::string SqlStateOf(const pgAPI& api, const PGresult* result);
