#include "../TirelScada.h"

bool TirelScada::CreateEventReportTable() { return Pending(L"CreateEventReportTable"); }

bool TirelScada::DeleteEventReportData(const wchar_t*) { return Pending(L"DeleteEventReportData"); }

bool TirelScada::InsertEventReportData(const wchar_t*, const wchar_t*, std::int64_t,
                                       const std::vector<EventReportCell>&) {
  return Pending(L"InsertEventReportData");
}

bool TirelScada::GetEventReportData(const wchar_t*, const wchar_t*,
                                    std::unordered_map<std::wstring, std::vector<std::wstring>>&) {
  return Pending(L"GetEventReportData");
}
