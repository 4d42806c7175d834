#include "DbmsAPI/frame/ServerError.h"

// The vendor's documented interface has no fields of an error.

std::string SqlStateOf(const SAException&) { return {}; }

std::string SqlStateOf(const pgAPI&, const PGresult*) { return {}; }

std::string TextOf(const pgAPI& api, const PGresult* result) { return api.PQresultErrorMessage(result); }
