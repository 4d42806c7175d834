#pragma once

// The shape of every operation:
//
//   bool TirelScada::DeleteAllComments() { return Run(kDeleteAllComments); }
//
//   bool TirelScada::DeleteRecipe(const wchar_t* model, const wchar_t* name) {
//     return Run([&](SACommand& command) {
//       Require({{L"model", model}, {L"name", name}});
//       command.setCommandText(kDeleteRecipe);
//       command << model << name;
//       command.Execute();
//     });
//   }
//
// A body returns nothing, or whether the operation succeeded. Text that is not constant is built inside the
// body, so that nothing is parsed or thrown before the connection check.

#include <SQLAPI.h>

#include <initializer_list>
#include <string>
#include <type_traits>

#include "DbmsAPI/TirelScada.h"

// Thrown by Require. Guard keeps the text for GetLastError.
struct NullArgument {
  std::wstring text;
};

// Thrown by Bounded, which has reported it. Guard leaves lastError as it was.
struct StatementTooLong {};

template <class Body>
bool TirelScada::Guard(Body&& body) {
  try {
    if constexpr (std::is_void_v<decltype(body())>) {
      body();
      return true;
    } else {
      return body();
    }
  } catch (const SAException& error) {
    HandleDbException(error);
  } catch (const NullArgument& null) {
    ReportFailure(SA_Library_Error, 0, null.text);
  } catch (const StatementTooLong&) {
  }
  return false;
}

template <class Body>
bool TirelScada::Run(Body&& body) {
  if (!Connect()) return false;
  return Guard([&] {
    SACommand command(connection.get());
    return body(command);
  });
}

// A pointer that the caller passed, with the parameter's name.
struct Argument {
  const wchar_t* name;
  const void* value;
};

// Ends the operation when an argument is null.
void Require(std::initializer_list<Argument> arguments);

// The text of an argument; empty for null.
std::wstring OptionalText(const wchar_t* argument);

// Returns a statement that fits a buffer of `capacity` characters; ends the operation for a longer one.
std::wstring Bounded(std::size_t capacity, std::wstring statement);
