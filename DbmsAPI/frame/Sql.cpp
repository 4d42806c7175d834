#include "DbmsAPI/frame/Sql.h"

SAString ToSAString(const std::wstring& text) { return SAString(text.c_str(), text.size()); }

void BindOrNull(SAParam& parameter, const std::wstring& text) {
  if (text.empty()) {
    parameter.setAsNull();
  } else {
    parameter.setAsString() = ToSAString(text);
  }
}

void Execute(SACommand& command, const std::wstring& statement) {
  command.setCommandText(ToSAString(statement));
  command.Execute();
}

bool FetchFirst(SACommand& command, const std::wstring& query) {
  Execute(command, query);
  return command.FetchNext();
}
