#include "Errors.h"

#include <utility>

#include "port/Utf8.h"

namespace pq {
namespace {

constexpr int kNoNativeCode = 0;
constexpr int kConnectionBad = 1;  // libpq's CONNECTION_BAD

constexpr std::string_view kRefused = "Connection refused";
constexpr std::string_view kRefusedNumber = " (0x0000274D/10061)";

// Whether the text between two places is the reason that libpq gives at the end of a line: "...: reason".
bool IsReason(std::string_view text, std::size_t start, std::size_t end) {
  const std::string_view before = text.substr(0, start);
  const std::string_view after = text.substr(end);
  return (before.empty() || before.ends_with('\n') || before.ends_with(": ")) &&
         (after.empty() || after.starts_with('\n') || after.starts_with('\r'));
}

// Puts the number after each refusal that does not have it yet.
void NumberRefusals(std::string& text, std::string_view refused) {
  if (refused.empty()) return;
  for (std::size_t at = text.find(refused); at != std::string::npos; at = text.find(refused, at)) {
    const std::size_t start = std::exchange(at, at + refused.size());
    if (IsReason(text, start, at)) text.insert(at, kRefusedNumber);
  }
}

SAString Wide(std::string_view utf8) { return SAString(sys::FromUtf8(utf8)); }

}  // namespace

std::string_view WithoutLineFeeds(std::string_view text) {
  while (text.ends_with('\n') || text.ends_with('\r')) text.remove_suffix(1);
  return text;
}

SAException UsageError(std::wstring text) {
  return SAException(SA_Library_Error, kNoNativeCode, SAString(std::move(text)));
}

SAException MalformedValue(unsigned type) {
  return UsageError(L"The server sent a malformed value of the type " + std::to_wstring(type));
}

SAException ConnectFailure(std::string_view text, std::string_view refused) {
  std::string spelled(WithoutLineFeeds(text));
  NumberRefusals(spelled, kRefused);
  NumberRefusals(spelled, refused);
  return SAException(SA_DBMS_API_Error, kConnectionBad, Wide(spelled));
}

SAException StatementFailure(int status, std::string_view text, std::string sqlState) {
  return SAException(SA_DBMS_API_Error, status, Wide(text), std::move(sqlState));
}

}  // namespace pq
