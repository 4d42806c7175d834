#include "../TirelScada.h"

bool TirelScada::CreateUserLogTable(const wchar_t*, const std::vector<UserLogColumn>&, int) {
  return Pending(L"CreateUserLogTable");
}

bool TirelScada::InsertUserLogData(const wchar_t*, const UserLogRow&) {
  return Pending(L"InsertUserLogData");
}

bool TirelScada::GetUserLogData(const wchar_t*, std::int64_t, std::int64_t, const wchar_t*,
                                const std::vector<std::variant<double, std::wstring>>&,
                                std::vector<UserLogRow>&) {
  return Pending(L"GetUserLogData");
}
