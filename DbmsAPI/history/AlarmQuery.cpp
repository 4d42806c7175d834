#include <limits>

#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Rows.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

// {}: bounds in epoch seconds, nothing or " and " with a filter.
constexpr wchar_t kAlarms[] =
    L"select extract(epoch from time),tag_name,value,label,status,type,level,zone,"
    L"extract(epoch from occ_time),extract(epoch from free_time)"
    L" from alarm"
    L" where time >= to_timestamp({}) and time <= to_timestamp({}){}"
    L" order by time desc";

// A column that a mask filters by bit position, and the codes that exist.
struct CodeColumn {
  const wchar_t* name;
  unsigned codes;
};

constexpr CodeColumn kStatus = {L"status", 0x000F};
constexpr CodeColumn kType = {L"type", 0x1FFF};
constexpr CodeColumn kLevel = {L"level", 0xFFFE};  // no level 0
constexpr CodeColumn kZone = {L"zone", 0xFFFF};

// Kept: a mask that selects none of the codes gives `level in )`, which the server refuses.
void AppendCodes(std::wstring& filter, const CodeColumn& column, std::int16_t mask) {
  const unsigned selected = static_cast<std::uint16_t>(mask) & column.codes;
  if (selected == column.codes) return;
  if (!filter.empty()) filter += L" and ";
  filter.append(column.name).append(L" in (");
  for (int code = 0; code < 16; ++code) {
    if ((selected >> code & 1U) != 0) filter += Format(L"{},", code);
  }
  filter.back() = L')';
}

// Kept: after another clause the opening parenthesis is missing, which the server refuses. Kept: several
// ranges are joined by "or", so that only what lies in all of them is left out.
void AppendExcludedRanges(std::wstring& filter,
                          const std::vector<std::pair<std::int64_t, std::int64_t>>& ranges) {
  if (ranges.empty()) return;
  filter += filter.empty() ? L"(" : L" and ";
  const wchar_t* joint = L"";
  for (const auto& [from, to] : ranges) {
    filter += Format(L"{}time < to_timestamp({}) or time > to_timestamp({})", joint, from, to);
    joint = L" or ";
  }
  filter += L")";
}

// Kept: prefixes are not escaped, so that % and _ match anything and a quote ends the text.
void AppendTagPrefixes(std::wstring& filter, const std::vector<const wchar_t*>& prefixes) {
  if (prefixes.empty()) return;
  filter += filter.empty() ? L"(" : L" and (";
  const wchar_t* joint = L"";
  for (const wchar_t* prefix : prefixes) {
    filter += Format(L"{}tag_name like '{}%'", joint, prefix);
    joint = L" or ";
  }
  filter += L")";
}

// Kept: cut toward zero, not rounded; docs/kept-behaviours.md lists the years in which times read a
// millisecond less. An infinite time, which only other programs store, becomes the greatest or the least
// time.
std::int64_t Milliseconds(const SAField& seconds) {
  constexpr double kEnd = 9223372036854775808.0;  // 2^63
  const double milliseconds = seconds.asDouble() * 1000;
  if (milliseconds >= kEnd) return std::numeric_limits<std::int64_t>::max();
  if (milliseconds < -kEnd) return std::numeric_limits<std::int64_t>::min();
  return static_cast<std::int64_t>(milliseconds);
}

void ReadAlarms(SACommand& command, std::vector<AlarmRecord>& records) {
  while (command.FetchNext()) {
    AlarmRecord record;
    record.timeMs = Milliseconds(command.Field(1));
    ReadText(command.Field(2), record.tagName);
    record.value = command.Field(3).asDouble();
    ReadText(command.Field(4), record.label);
    record.status = command.Field(5).asShort();
    record.type = command.Field(6).asShort();
    record.level = command.Field(7).asShort();
    record.zone = command.Field(8).asShort();
    record.occTimeMs = Milliseconds(command.Field(9));
    if (!command.Field(10).isNull()) record.freeTimeMs = Milliseconds(command.Field(10));
    records.push_back(std::move(record));
  }
}

}  // namespace

bool TirelScada::GetAlarmData(std::int64_t startTime, std::int64_t endTime, std::int16_t statusMask,
                              std::int16_t typeMask, std::int16_t levelMask, std::int16_t zoneMask,
                              const std::vector<const wchar_t*>& tagPrefixes,
                              const std::vector<std::pair<std::int64_t, std::int64_t>>& excludedRanges,
                              std::vector<AlarmRecord>& records) {
  return Run([&](SACommand& command) {
    for (const wchar_t* prefix : tagPrefixes) Require({{L"tagPrefixes", prefix}});
    if (statusMask == 0 || typeMask == 0 || levelMask == 0 || zoneMask == 0) return;
    std::wstring filter;
    AppendCodes(filter, kStatus, statusMask);
    AppendCodes(filter, kType, typeMask);
    AppendCodes(filter, kLevel, levelMask);
    AppendCodes(filter, kZone, zoneMask);
    AppendExcludedRanges(filter, excludedRanges);
    AppendTagPrefixes(filter, tagPrefixes);
    AskForBinary(command, false);
    Execute(command, Format(kAlarms, startTime, endTime, filter.empty() ? filter : L" and " + filter));
    ReadAlarms(command, records);
  });
}

bool TirelScada::GetAllAlarmData(std::int64_t startTime, std::int64_t endTime,
                                 std::vector<AlarmRecord>& records) {
  return Run([&](SACommand& command) {
    AskForBinary(command, false);
    Execute(command, Format(kAlarms, startTime, endTime, L""));
    ReadAlarms(command, records);
  });
}
