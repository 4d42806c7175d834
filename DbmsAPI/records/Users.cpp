#include "../TirelScada.h"

bool TirelScada::CreateUserTables() { return Pending(L"CreateUserTables"); }

bool TirelScada::DeleteAllUsers() { return Pending(L"DeleteAllUsers"); }

bool TirelScada::InsertUsers(const std::vector<UserRecord>&) { return Pending(L"InsertUsers"); }

bool TirelScada::GetUsers(std::vector<UserRecord>&) { return Pending(L"GetUsers"); }

bool TirelScada::GetLoggedInUserIds(std::vector<std::wstring>&) { return Pending(L"GetLoggedInUserIds"); }
