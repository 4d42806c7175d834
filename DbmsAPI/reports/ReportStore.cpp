#include "../TirelScada.h"

bool TirelScada::CreateReportDataTables(int) { return Pending(L"CreateReportDataTables"); }

bool TirelScada::GetReportDataTime(const wchar_t*, const wchar_t*, std::int64_t*) {
  return Pending(L"GetReportDataTime");
}

bool TirelScada::SetReportDataTime(const wchar_t*, const wchar_t*, std::int64_t) {
  return Pending(L"SetReportDataTime");
}

bool TirelScada::GetReportDataFirstTime(const wchar_t*, const wchar_t*, std::int64_t*) {
  return Pending(L"GetReportDataFirstTime");
}
