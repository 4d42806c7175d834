#include "DbmsAPI/frame/DatabaseName.h"

#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "port/Utf8.h"

namespace {

constexpr wchar_t kDatabaseName[] = L"select current_database()";

// Characters that separate the parts of a connection text.
constexpr wchar_t kSeparators[] = L"=;@ \t\r\n";

constexpr std::size_t kLongestName = 63;  // bytes, in a server built with its defaults

}  // namespace

bool IsDatabaseName(std::wstring_view text) {
  return !text.empty() && text.find_first_of(kSeparators) == text.npos && text.find(L"://") == text.npos &&
         sys::ToUtf8(text).size() <= kLongestName;
}

std::wstring CurrentDatabase(SACommand& command) {
  if (!FetchFirst(command, kDatabaseName)) return {};
  return command.Field(1).asString().operator const SAChar*();
}

std::wstring DatabaseName(SACommand& command, const std::wstring& connectionText) {
  return IsDatabaseName(connectionText) ? connectionText : CurrentDatabase(command);
}
