#include "../TirelScada.h"

bool TirelScada::GetAlarmData(std::int64_t, std::int64_t, std::int16_t, std::int16_t, std::int16_t,
                              std::int16_t, const std::vector<const wchar_t*>&,
                              const std::vector<std::pair<std::int64_t, std::int64_t>>&,
                              std::vector<AlarmRecord>&) {
  return Pending(L"GetAlarmData");
}

bool TirelScada::GetAllAlarmData(std::int64_t, std::int64_t, std::vector<AlarmRecord>&) {
  return Pending(L"GetAllAlarmData");
}
