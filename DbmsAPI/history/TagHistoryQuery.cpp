#include <cfloat>

#include "../frame/Operation.h"
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
  return query +
         Bounded(kRangeBuffer, port::Format(L" and time between to_timestamp({}) and to_timestamp({}) "
                                            L"order by tag_name, time",
                                            startTime, endTime));
}

}  // namespace

bool TirelScada::GetLogData(std::int64_t startTime, std::int64_t endTime,
                            std::unordered_map<std::wstring, std::vector<LogPoint>>& data) {
  return Run([&](SACommand& command) {
    Execute(command, SamplesQuery(data, startTime, endTime));
    while (command.FetchNext()) {
      const SAString tag = command.Field(1).asString();
      const double time = command.Field(2).asDouble();
      const SAField& value = command.Field(3);
      data[static_cast<const SAChar*>(tag)].push_back({time, value.isNull() ? DBL_MAX : value.asDouble()});
    }
  });
}
