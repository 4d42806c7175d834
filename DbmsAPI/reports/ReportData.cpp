#include <charconv>
#include <iterator>
#include <string_view>
#include <tuple>
#include <type_traits>

#include "DbmsAPI/frame/Epoch.h"
#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Rows.h"
#include "DbmsAPI/frame/Sql.h"
#include "port/LocalTime.h"

namespace {

// {}: kind, period. A list of rows follows.
constexpr wchar_t kInsertRows[] = L"insert into report_data_{}_{} values";
constexpr wchar_t kUnlessStored[] = L" ON CONFLICT (time, tag_name) DO NOTHING";

constexpr std::size_t kMarkersOfRow = 300;  // approximate, in characters

// {}: kind, period. A list of tag names follows.
constexpr wchar_t kGetRows[] = L"select * from report_data_{}_{} where tag_name in (";
// {}: first and last epoch second.
constexpr wchar_t kInPeriod[] =
    L" and time between to_timestamp({}) and to_timestamp({}) order by tag_name, time";
// {}: epoch seconds.
constexpr wchar_t kAtInstant[] = L" and time = to_timestamp({}) order by tag_name, time";

// What differs between the kinds: the kind's part of the table names, and the statistics of a row, in the
// order of the columns after time and tag_name. The minute table lacks the further ones.
struct Analog {
  using Row = ReportAnalogData;
  static constexpr wchar_t kName[] = L"analog";
  static constexpr std::tuple kStatistics{&Row::count, &Row::sum, &Row::avg,      &Row::diff, &Row::first,
                                          &Row::last,  &Row::min, &Row::min_time, &Row::max,  &Row::max_time};
  static constexpr std::tuple kFurtherStatistics{&Row::diff_sum,      &Row::diff_avg, &Row::diff_min,
                                                 &Row::diff_min_time, &Row::diff_max, &Row::diff_max_time};
};

struct Digital {
  using Row = ReportDigitalData;
  static constexpr wchar_t kName[] = L"digital";
  static constexpr std::tuple kStatistics{&Row::count,          &Row::uptime,          &Row::uptime_avg,
                                          &Row::uptime_min,     &Row::uptime_min_time, &Row::uptime_max,
                                          &Row::uptime_max_time};
  static constexpr std::tuple kFurtherStatistics{&Row::count_avg, &Row::count_min, &Row::count_min_time,
                                                 &Row::count_max, &Row::count_max_time};
};

template <class Kind>
using Rows = std::vector<typename Kind::Row>;
template <class Kind>
using RowsByTag = std::unordered_map<std::wstring, Rows<Kind>>;

// Kept: any text but exactly "minute" counts as a longer period.
bool IsMinute(const wchar_t* period) { return std::wstring_view(period) == L"minute"; }

// Calls `visit` with each statistic of a row that its table has, in the order of the columns.
template <class Kind, class Row, class Visit>
void VisitStatistics(Row& row, bool isMinute, Visit visit) {
  const auto visitAll = [&](auto... statistics) { (visit(row.*statistics), ...); };
  std::apply(visitAll, Kind::kStatistics);
  if (!isMinute) std::apply(visitAll, Kind::kFurtherStatistics);
}

// The same, with time and tag_name first.
template <class Kind, class Row, class Visit>
void VisitColumns(Row& row, bool isMinute, Visit visit) {
  visit(row.time);
  visit(row.tag_name);
  VisitStatistics<Kind>(row, isMinute, visit);
}

// ---- Insert ----

// Appends the marker of a parameter and a comma. Times, which are the 64-bit fields, are sent as epoch
// seconds.
template <class Field>
void AppendMarker(std::wstring& text, std::size_t number, const Field&) {
  char digits[24];
  char* const end = std::to_chars(digits, std::end(digits), number).ptr;
  constexpr bool isTime = std::is_same_v<Field, std::int64_t>;
  text += isTime ? L"to_timestamp(:" : L":";
  text.append(digits, end);
  text += isTime ? L")," : L",";
}

// One statement for all rows. Markers are numbered across the rows.
template <class Kind>
std::wstring InsertStatement(const wchar_t* period, const Rows<Kind>& rows) {
  const bool isMinute = IsMinute(period);
  std::wstring text = Format(kInsertRows, Kind::kName, period);
  text.reserve(rows.size() * kMarkersOfRow);
  std::size_t number = 0;
  for (const auto& row : rows) {
    text += L'(';
    VisitColumns<Kind>(row, isMinute, [&](const auto& field) { AppendMarker(text, ++number, field); });
    text.back() = L')';
    text += L',';
  }
  // Kept: without rows this takes the "s" of "values", and the server refuses the statement.
  text.pop_back();
  text += kUnlessStored;
  return text;
}

template <class Kind>
void InsertRows(SACommand& command, const wchar_t* period, const Rows<Kind>& rows) {
  Require({{L"period", period}});
  command.setCommandText(ToSAString(InsertStatement<Kind>(period, rows)));
  const bool isMinute = IsMinute(period);
  for (const auto& row : rows)
    VisitColumns<Kind>(row, isMinute, [&](const auto& field) { command << field; });
  command.Execute();
}

// ---- Query ----

// An end of 0 selects the one period that begins at the start.
template <class Kind>
std::wstring RowsQuery(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                       const RowsByTag<Kind>& data) {
  std::wstring query = Format(kGetRows, Kind::kName, period);
  AppendKeys(query, data);
  return query + (endTime != 0 ? Format(kInPeriod, startTime, endTime) : Format(kAtInstant, startTime));
}

// Calendar fields of the session's time zone are read as local time of the process.
// Kept: seconds have 32 bits; instants from 19 January 2038 on wrap around.
void Read(const SAField& field, sys::LocalOffsets& offsets, std::int64_t& time) {
  time = static_cast<std::int32_t>(LocalEpochSeconds(CalendarSeconds(field), offsets));
}
void Read(const SAField& field, sys::LocalOffsets&, std::int32_t& count) { count = field.asLong(); }
void Read(const SAField& field, sys::LocalOffsets&, double& value) { value = field.asDouble(); }

template <class Kind>
void AppendRow(SACommand& command, bool isMinute, sys::LocalOffsets& offsets,
               TagFinder<RowsByTag<Kind>>& tags) {
  typename Kind::Row head;
  Read(command.Field(1), offsets, head.time);
  auto& [tag, rows] = tags.Find(command.Field(2));
  head.tag_name = tag;
  auto& row = rows.emplace_back(std::move(head));
  int column = 2;
  VisitStatistics<Kind>(row, isMinute,
                        [&](auto& statistic) { Read(command.Field(++column), offsets, statistic); });
}

template <class Kind>
void GetRows(SACommand& command, const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
             RowsByTag<Kind>& data) {
  Require({{L"period", period}});
  AskForBinary(command, true);
  Execute(command, RowsQuery<Kind>(period, startTime, endTime, data));
  sys::ReadTimeZone();
  sys::LocalOffsets offsets;
  TagFinder tags(data);
  const bool isMinute = IsMinute(period);
  while (command.FetchNext()) AppendRow<Kind>(command, isMinute, offsets, tags);
}

}  // namespace

bool TirelScada::InsertReportDigitalData(const wchar_t* period, const std::vector<ReportDigitalData>& rows) {
  return Run([&](SACommand& command) { InsertRows<Digital>(command, period, rows); });
}

bool TirelScada::InsertReportAnalogData(const wchar_t* period, const std::vector<ReportAnalogData>& rows) {
  return Run([&](SACommand& command) { InsertRows<Analog>(command, period, rows); });
}

bool TirelScada::GetReportDigitalData(
    const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
    std::unordered_map<std::wstring, std::vector<ReportDigitalData>>& data) {
  return Run([&](SACommand& command) { GetRows<Digital>(command, period, startTime, endTime, data); });
}

bool TirelScada::GetReportAnalogData(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                                     std::unordered_map<std::wstring, std::vector<ReportAnalogData>>& data) {
  return Run([&](SACommand& command) { GetRows<Analog>(command, period, startTime, endTime, data); });
}
