#include "../TirelScada.h"

bool TirelScada::CreateNetworkTable() { return Pending(L"CreateNetworkTable"); }

bool TirelScada::InsertNetworkStatus(const std::vector<NetworkStatusRecord>&) {
  return Pending(L"InsertNetworkStatus");
}

bool TirelScada::UpdateNetworkStatus(const wchar_t*, const wchar_t*, const wchar_t*, int, int, int, int, int,
                                     int) {
  return Pending(L"UpdateNetworkStatus");
}

bool TirelScada::DeleteAllNetworkStatus() { return Pending(L"DeleteAllNetworkStatus"); }
