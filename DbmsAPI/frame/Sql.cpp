#include "DbmsAPI/frame/Sql.h"

#include <algorithm>

#include "DbmsAPI/frame/Format.h"

namespace {

// {}: table.
constexpr wchar_t kCountTables[] =
    L"select count(*) from information_schema.tables "
    L"where table_schema = 'public' and table_name = '{}'";

// {}: table, column.
constexpr wchar_t kFindColumn[] =
    L"select column_name from information_schema.columns "
    L"where table_name = '{}' and column_name = '{}'";

}  // namespace

SAString ToSAString(const std::wstring& text) { return SAString(text.c_str(), text.size()); }

SACommand& operator<<(SACommand& command, const std::wstring& text) { return command << ToSAString(text); }

void BindOrNull(SAParam& parameter, const std::wstring& text) {
  if (text.empty()) {
    parameter.setAsNull();
  } else {
    parameter.setAsString() = ToSAString(text);
  }
}

std::wstring LowerAscii(std::wstring name) {
  std::transform(name.begin(), name.end(), name.begin(), [](wchar_t letter) {
    return letter >= L'A' && letter <= L'Z' ? static_cast<wchar_t>(letter - L'A' + L'a') : letter;
  });
  return name;
}

void Execute(SACommand& command, const std::wstring& statement) {
  command.setCommandText(ToSAString(statement));
  command.Execute();
}

bool FetchFirst(SACommand& command, const std::wstring& query) {
  Execute(command, query);
  return command.FetchNext();
}

std::int64_t FetchNumber(SACommand& command, const std::wstring& query, std::int64_t otherwise) {
  std::int64_t number = otherwise;
  Execute(command, query);
  while (command.FetchNext()) number = command.Field(1).asInt64();
  return number;
}

void FetchTextsByKey(SACommand& command, std::unordered_map<std::wstring, std::vector<std::wstring>>& texts) {
  while (command.FetchNext()) {
    const std::wstring key(command.Field(1).asString());
    texts[key].emplace_back(command.Field(2).asString());
  }
}

std::int32_t CountTables(SACommand& command, const wchar_t* table) {
  return FetchFirst(command, Format(kCountTables, table)) ? command.Field(1).asLong() : 0;
}

bool HasColumn(SACommand& command, const wchar_t* table, const wchar_t* column) {
  return FetchFirst(command, Format(kFindColumn, table, column));
}
