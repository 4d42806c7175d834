#include "../TirelScada.h"

bool TirelScada::InsertReportDigitalData(const wchar_t*, const std::vector<ReportDigitalData>&) {
  return Pending(L"InsertReportDigitalData");
}

bool TirelScada::InsertReportAnalogData(const wchar_t*, const std::vector<ReportAnalogData>&) {
  return Pending(L"InsertReportAnalogData");
}

bool TirelScada::GetReportDigitalData(const wchar_t*, std::int64_t, std::int64_t,
                                      std::unordered_map<std::wstring, std::vector<ReportDigitalData>>&) {
  return Pending(L"GetReportDigitalData");
}

bool TirelScada::GetReportAnalogData(const wchar_t*, std::int64_t, std::int64_t,
                                     std::unordered_map<std::wstring, std::vector<ReportAnalogData>>&) {
  return Pending(L"GetReportAnalogData");
}
