#pragma once

#include <SQLAPI.h>

// Has the rows of the command's query sent in the server's binary format, where the client layer can.
// `withTimes` says that there are columns of type timestamptz. DBMSAPI_SQLAPI chooses the implementation.
void AskForBinary(SACommand& command, bool withTimes);
