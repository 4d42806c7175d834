#pragma once

// The shape of every operation:
//
//   bool TirelScada::DeleteAllComments() { return Run(kDeleteAllComments); }
//
//   bool TirelScada::DeleteRecipe(const wchar_t* model, const wchar_t* name) {
//     return Run([&](SACommand& command) {
//       command.setCommandText(kDeleteRecipe);
//       command << model << name;
//       command.Execute();
//     });
//   }
//
// Text that is not constant is built inside the body: nothing is parsed or thrown before the connection
// check.

#include <SQLAPI.h>

#include <cstdint>
#include <string>
#include <utility>

#include "DbmsAPI/TirelScada.h"

// Ends an operation whose statement does not fit its fixed buffer: false, lastError as it was.
struct StatementTooLong {};

template <class Body>
bool TirelScada::Guard(Body&& body) {
  try {
    std::forward<Body>(body)();
    return true;
  } catch (const SAException& error) {
    HandleDbException(error);
  } catch (const StatementTooLong&) {
    // Reported already, by the invalid-parameter handler.
  }
  return false;
}

template <class Body>
bool TirelScada::Run(Body&& body) {
  if (!Connect()) return false;
  return Guard([&] {
    SACommand command(connection.get());
    body(command);
  });
}

// Gives a statement back when it fits a buffer of `capacity` characters; else ends the operation.
std::wstring Bounded(std::size_t capacity, std::wstring statement);

// Runs a statement, leaving its rows to be fetched.
void Execute(SACommand& command, const std::wstring& statement);

// Runs a query and fetches its first row; false when there is none.
bool FetchFirst(SACommand& command, const std::wstring& query);

// Milliseconds since the epoch as the seconds that a parameter takes.
double EpochSeconds(std::int64_t milliseconds);

// The same in a statement's text: 1700000000123 is 1700000000.123 and 1700000000000 is 1.7e+09.
std::wstring EpochSecondsText(std::int64_t milliseconds);
