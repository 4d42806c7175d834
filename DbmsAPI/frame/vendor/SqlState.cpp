#include "DbmsAPI/frame/SqlState.h"

// The vendor's documented interface gives no SQLSTATE.

std::string SqlStateOf(const SAException&) { return {}; }

std::string SqlStateOf(const pgAPI&, const PGresult*) { return {}; }
