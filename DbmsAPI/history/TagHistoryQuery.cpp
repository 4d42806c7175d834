#include <cfloat>

#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Rows.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

// A list of tag names follows.
constexpr wchar_t kGetSamples[] =
    L"select tag_name, extract(epoch from time), value"
    L" from datalog"
    L" where tag_name in (";
// {}: first and last epoch second.
constexpr wchar_t kInRange[] =
    L" and time between to_timestamp({}) and to_timestamp({})"
    L" order by tag_name, time";

constexpr std::size_t kMaxRangeSize = 128;

}  // namespace

bool TirelScada::GetLogData(std::int64_t startTime, std::int64_t endTime,
                            std::unordered_map<std::wstring, std::vector<LogPoint>>& data) {
  return Run([&](SACommand& command) {
    std::wstring query = kGetSamples;
    AppendKeys(query, data);
    AskForBinary(command, false);
    Execute(command, query + Bounded(kMaxRangeSize, Format(kInRange, startTime, endTime)));
    TagFinder tags(data);
    while (command.FetchNext()) {
      std::vector<LogPoint>& points = tags.Find(command.Field(1)).second;
      const double time = command.Field(2).asDouble();
      const SAField& value = command.Field(3);
      points.push_back({time, value.isNull() ? DBL_MAX : value.asDouble()});
    }
  });
}
