#pragma once

#include <SQLAPI.h>

// Requests the rows of the command's query in the server's binary format, if the client layer can.
// `withTimes` says that there are columns of type timestamptz. DBMSAPI_SQLAPI chooses the implementation.
void AskForBinary(SACommand& command, bool withTimes);
