#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"

#include "DbmsAPI/frame/Diagnostics.h"
#include "DbmsAPI/frame/Format.h"

bool TirelScada::Run(const wchar_t* statement) {
  return Run([&](SACommand& command) { Execute(command, statement); });
}

void Require(std::initializer_list<Argument> arguments) {
  for (const Argument& argument : arguments) {
    if (!argument.value) throw NullArgument{Format(L"The argument {} is null", argument.name)};
  }
}

std::wstring OptionalText(const wchar_t* argument) { return argument ? argument : L""; }

std::wstring Bounded(std::size_t capacity, std::wstring statement) {
  auto fitting = FitBuffer(capacity, std::move(statement));
  if (!fitting) throw StatementTooLong();
  return *std::move(fitting);
}
