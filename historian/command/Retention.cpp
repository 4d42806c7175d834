#include "Retention.h"

#include "Failure.h"

namespace historian::command {
namespace {

constexpr wchar_t kRetention[] =
    L"select extract(epoch from (config->>'drop_after')::interval)::float8 / 86400 "
    L"from timescaledb_information.jobs "
    L"where proc_name = 'policy_retention' and hypertable_name = 'datalog'";
constexpr wchar_t kOldest[] = L"select (extract(epoch from min(time)) * 1000)::int8 from datalog";

}  // namespace

std::optional<double> RetentionDays(Server& server) {
  if (!server.HasTimescale()) return {};
  std::optional<double> days;
  server.Query(kRetention, [&](SACommand& row) { days = row.Field(1).asDouble(); });
  return days;
}

std::optional<Time> OldestSample(Server& server) {
  std::optional<Time> oldest;
  server.Query(kOldest, [&](SACommand& row) {
    if (!row.Field(1).isNull()) oldest = Time(std::chrono::milliseconds(row.Field(1).asInt64()));
  });
  return oldest;
}

}  // namespace historian::command
