#pragma once

#include "Result.h"

namespace pq {

// libpq's functions of these names, for the connections of this layer, which libpq knows as nonblocking. They
// wait like those of a blocking one, but by AwaitServer; the results of a connection that was given up are
// marked.
PGresult* GetResult(PGconn* connection);
PGresult* Exec(PGconn* connection, const char* query);
PGresult* ExecParams(PGconn* connection, const char* query, int parameters, const unsigned* types,
                     const char* const* values, const int* lengths, const int* formats, int resultFormat);
int PutCopyData(PGconn* connection, const char* buffer, int bytes);
int PutCopyEnd(PGconn* connection, const char* errorMessage);

// Sends what libpq holds back. GetResult reports a failure.
void Flush(PGconn* connection);

// Reads the answer to what was sent. Returns the first result that is a failure, else the last one. PQexec
// would always return the last one; when the server closes the connection, only the first holds its reason.
// `sent` is what libpq's send returned.
Result ReadToTheEnd(PGconn* connection, int sent);

bool IsCopy(const PGresult* result);

// Reads what is left of an answer; libpq counts a connection as active until then. Returns false when the
// server does not end a COPY.
bool DiscardAnswer(PGconn* connection);

}  // namespace pq
