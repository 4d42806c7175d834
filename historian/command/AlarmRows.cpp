#include "AlarmRows.h"

#include "SampleRows.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

// :1 from, :2 to (epoch milliseconds), :3 beginning of the tag, :4 an array of tags, :5 status, :6 type, :7
// level, :8 zone (each NULL: any), :9 whether only those not cleared, :10 most rows.
constexpr wchar_t kAlarms[] =
    L"select (extract(epoch from time) * 1000)::int8, tag_name, value, label, status, type, level, zone, "
    L"(extract(epoch from occ_time) * 1000)::int8, (extract(epoch from free_time) * 1000)::int8 from alarm "
    L"where time >= to_timestamp(:1 / 1000.0) and time <= to_timestamp(:2 / 1000.0) and starts_with(tag_name, :3) "
    L"and (:4::text[] is null or tag_name = any(:4::text[])) "
    L"and (:5::int is null or status = :5::int) and (:6::int is null or type = :6::int) "
    L"and (:7::int is null or level = :7::int) and (:8::int is null or zone = :8::int) "
    L"and (not :9 or free_time is null) "
    L"order by time desc, tag_name, status limit :10";

void Bind(SACommand& command, const std::optional<int>& code) {
  if (code) {
    command << *code;
  } else {
    command << SANull();
  }
}

Time TimeOf(SACommand& row, int column) {
  return Time(std::chrono::milliseconds(row.Field(column).asInt64()));
}

int CodeOf(SACommand& row, int column) { return static_cast<int>(row.Field(column).asLong()); }

}  // namespace

void ReadAlarms(Server& server, const AlarmFilter& filter,
                const std::function<void(const AlarmRow&)>& alarm) {
  const auto bind = [&](SACommand& command) {
    command << static_cast<long long>(filter.from.time_since_epoch().count())
            << static_cast<long long>(filter.to.time_since_epoch().count())
            << SAString(sys::FromUtf8(filter.prefix));
    BindTags(command, filter.tags);
    for (const auto& code : {filter.status, filter.type, filter.level, filter.area}) Bind(command, code);
    command << filter.open << static_cast<long long>(filter.limit);
  };
  server.Query(kAlarms, bind, [&](SACommand& row) {
    AlarmRow read{TimeOf(row, 1), Text(row.Field(2)), row.Field(3).asDouble(), Text(row.Field(4)),
                  CodeOf(row, 5), CodeOf(row, 6),     CodeOf(row, 7),          CodeOf(row, 8),
                  TimeOf(row, 9), std::nullopt};
    if (!row.Field(10).isNull()) read.cleared = TimeOf(row, 10);
    alarm(read);
  });
}

nlohmann::json ToJson(const AlarmRow& alarm) {
  return {{"time", FormatUtc(alarm.time)},
          {"tag", alarm.tag},
          {"value", alarm.value},
          {"label", alarm.label},
          {"status", alarm.status},
          {"type", alarm.type},
          {"level", alarm.level},
          {"zone", alarm.area},
          {"occurred", FormatUtc(alarm.occurred)},
          {"cleared", alarm.cleared ? nlohmann::json(FormatUtc(*alarm.cleared)) : nlohmann::json()}};
}

}  // namespace historian::command
