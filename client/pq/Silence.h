#pragma once

#include "Result.h"
#include "port/Socket.h"

namespace pq {

// Waits for an event of a connection's socket. When the server has been silent for a while, asks it over a
// second connection whether it still works on a statement of this one. If twice it does not, or does not
// answer, gives the connection up: shuts its socket down, which is an event too, and keeps the reason. If the
// answer is inconclusive, as through a pooler, goes on waiting, up to the limit if one is set.
//
// SQLAPI.h describes the settings for the times of silence; the second connection has the parameters and
// the time limit of the first.
void AwaitServer(PGconn* connection, sys::SocketEvent event);

// Why a connection was given up, in UTF-8; null when it was not. A result knows it after Mark.
char* ReasonGivenUp(const PGconn* connection);
char* ReasonGivenUp(const PGresult* result);
void Mark(PGresult* result, PGconn* connection);

}  // namespace pq
