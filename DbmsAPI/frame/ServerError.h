#pragma once

// What a failure says of itself. The bodies are chosen by DBMSAPI_SQLAPI.

#include <pgAPI.h>

#include <string>

// The SQLSTATE of a failure, empty when it has none.
std::string SqlStateOf(const SAException& error);
std::string SqlStateOf(const pgAPI& api, const PGresult* result);

// The text of a failed result in UTF-8; empty for a null one.
std::string TextOf(const pgAPI& api, const PGresult* result);
