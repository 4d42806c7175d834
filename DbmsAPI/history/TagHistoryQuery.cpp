#include <cfloat>

#include "DbmsAPI/frame/Operation.h"
#include "port/Format.h"

namespace {

constexpr std::size_t kRangeBuffer = 128;

// Kept: tag names stand as they are, and with no tag at all the opening parenthesis is overwritten, which the
// server refuses.
template <class Map>
std::wstring SamplesQuery(const Map& data, std::int64_t startTime, std::int64_t endTime) {
  std::wstring query = L"select tag_name, extract(epoch from time), value from datalog where tag_name in (";
  for (const auto& [tag, points] : data) query.append(L"'").append(tag).append(L"',");
  query.back() = L')';
  return query + Bounded(kRangeBuffer, sys::Format(L" and time between to_timestamp({}) and to_timestamp({}) "
                                                   L"order by tag_name, time",
                                                   startTime, endTime));
}

}  // namespace

bool TirelScada::GetLogData(std::int64_t startTime, std::int64_t endTime,
                            std::unordered_map<std::wstring, std::vector<LogPoint>>& data) {
  return Run([&](SACommand& command) {
    Execute(command, SamplesQuery(data, startTime, endTime));
    // The rows come ordered by tag: its points are looked up once for all its rows.
    std::pair<const std::wstring, std::vector<LogPoint>>* tag = nullptr;
    while (command.FetchNext()) {
      const SAString name = command.Field(1).asString();
      if (!tag || tag->first != static_cast<const SAChar*>(name)) {
        tag = &*data.try_emplace(static_cast<const SAChar*>(name)).first;
      }
      const double time = command.Field(2).asDouble();
      const SAField& value = command.Field(3);
      tag->second.push_back({time, value.isNull() ? DBL_MAX : value.asDouble()});
    }
  });
}
