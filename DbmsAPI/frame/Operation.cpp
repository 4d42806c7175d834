#include "DbmsAPI/frame/Operation.h"

#include "port/InvalidParameter.h"
#include "port/Number.h"

bool TirelScada::Run(const wchar_t* statement) {
  return Run([&](SACommand& command) {
    command.setCommandText(statement);
    command.Execute();
  });
}

std::wstring Bounded(std::size_t capacity, std::wstring statement) {
  auto fitting = sys::FitBuffer(capacity, std::move(statement));
  if (!fitting) throw StatementTooLong();
  return *std::move(fitting);
}

void Execute(SACommand& command, const std::wstring& statement) {
  command.setCommandText(statement.c_str());
  command.Execute();
}

bool FetchFirst(SACommand& command, const std::wstring& query) {
  Execute(command, query);
  return command.FetchNext();
}

double EpochSeconds(std::int64_t milliseconds) { return static_cast<double>(milliseconds) / 1000.0; }

std::wstring EpochSecondsText(std::int64_t milliseconds) {
  return sys::ShortestText(EpochSeconds(milliseconds));
}
