#pragma once

#include "Result.h"

namespace pq {

// Replace libpq's functions of the same names. The connections of this layer are nonblocking for libpq; these
// functions wait as they would for a blocking one, but with AwaitServer. They mark the results of a
// connection that was given up.
PGresult* GetResult(PGconn* connection);
PGresult* Exec(PGconn* connection, const char* query);
PGresult* ExecParams(PGconn* connection, const char* query, int parameters, const unsigned* types,
                     const char* const* values, const int* lengths, const int* formats, int resultFormat);
int PutCopyData(PGconn* connection, const char* buffer, int bytes);
int PutCopyEnd(PGconn* connection, const char* errorMessage);

// Sends what libpq holds back. GetResult reports a failure.
void Flush(PGconn* connection);

// Reads the answer to what was sent. Returns the first result that is a failure, else the last one. PQexec
// always returns the last one, but when the server closes the connection, only the first one has its reason.
// `sent` is what libpq's send returned.
Result ReadToTheEnd(PGconn* connection, int sent);

bool IsCopy(const PGresult* result);

// Reads the rest of an answer; until then libpq takes the connection for active. Returns false when the
// server does not end a COPY.
bool DiscardAnswer(PGconn* connection);

}  // namespace pq
