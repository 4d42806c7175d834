#include "../TirelScada.h"

bool TirelScada::CreateAlarmTable(int) { return Pending(L"CreateAlarmTable"); }

bool TirelScada::InsertAlarm(std::int64_t, const wchar_t*, double, const wchar_t*, std::int16_t, std::int16_t,
                             std::int16_t, std::int16_t, std::int64_t, std::int64_t) {
  return Pending(L"InsertAlarm");
}
