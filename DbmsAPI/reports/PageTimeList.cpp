#include "../TirelScada.h"

bool TirelScada::CreatePageTimeListTable() { return Pending(L"CreatePageTimeListTable"); }

bool TirelScada::InsertPageTimeList(const wchar_t*, std::int64_t, const std::vector<std::wstring>&) {
  return Pending(L"InsertPageTimeList");
}

bool TirelScada::ClosePageTimeList(const wchar_t*, std::int64_t) { return Pending(L"ClosePageTimeList"); }

bool TirelScada::CreatePageTimestampTable() { return Pending(L"CreatePageTimestampTable"); }
