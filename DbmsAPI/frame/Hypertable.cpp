#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Timescale.h"
#include "port/Format.h"

namespace {

constexpr std::size_t kStatementBuffer = 256;  // of the retention statements
constexpr std::size_t kJobQueryBuffer = 1024;
constexpr std::size_t kDaysBuffer = 64;

// The stored age of a retention policy by the extension's internal catalog, as JSON text. {}: table.
constexpr wchar_t kLegacyRetention[] =
    L"with hypertable as (\tselect id\tfrom _timescaledb_catalog.hypertable\twhere table_name = "
    L"lower('{}')), "
    L"retention as (\tselect config->'hypertable_id' a, config->'drop_after' b\tfrom "
    L"_timescaledb_config.bgw_job\twhere application_name like 'Retention Policy%') select b from "
    L"hypertable, "
    L"retention where a::integer = id";

// The same by the public view of jobs, as plain text. {}: table.
constexpr wchar_t kRetention[] =
    L"SELECT config->>'drop_after' FROM timescaledb_information.jobs WHERE hypertable_name = lower('{}') AND "
    L"proc_name = 'policy_retention'";

}  // namespace

bool TirelScada::AdoptHypertable(SACommand& command, const wchar_t* table, std::optional<int> retentionDays) {
  const bool adopted = FetchFirst(
      command,
      sys::Format(L"select compression_state from _timescaledb_catalog.hypertable where table_name = '{}'",
                  table));
  if (adopted) {
    const bool compressed = command.Field(1).asShort() == 1;
    if (retentionDays) SetRetentionPolicyLegacy(table, *retentionDays);
    return compressed;
  }
  CreateHypertable(command, table);
  if (retentionDays.value_or(0) > 0) {
    Execute(command,
            sys::Format(L"select add_retention_policy('{}', interval '{} days')", table, *retentionDays));
  }
  return false;
}

void TirelScada::SetUpHypertable(SACommand& command, const wchar_t* table, const wchar_t* segmentBy,
                                 std::optional<int> retentionDays) {
  if (TimescaleVersion <= 0) return;
  const bool compressed = AdoptHypertable(command, table, retentionDays);
  if (!compressed) SetCompression(command, table, segmentBy);
  AddCompressionPolicy(command, table);
}

// Kept: this one compares for equality with the quoted text and removes plainly, the one below tests for
// containment and removes if_exists.
void TirelScada::SetRetentionPolicyLegacy(const wchar_t* table, int days) {
  SACommand command(connection.get());
  if (FetchFirst(command, sys::Format(kLegacyRetention, table))) {
    const std::wstring wanted = Bounded(kStatementBuffer, sys::Format(L"\"{} days\"", days));
    if (command.Field(1).asString() == wanted.c_str()) return;
    Execute(command, Bounded(kStatementBuffer, sys::Format(L"select remove_retention_policy('{}')", table)));
    if (days < 1) return;
    Execute(command,
            Bounded(kStatementBuffer,
                    sys::Format(L"select add_retention_policy('{}', interval '{} days')", table, days)));
  } else if (days >= 1) {
    Execute(command, sys::Format(L"select add_retention_policy('{}', interval '{} days')", table, days));
  }
}

void TirelScada::SetRetentionPolicy(const wchar_t* table, int days) {
  SACommand command(connection.get());
  if (FetchFirst(command, Bounded(kJobQueryBuffer, sys::Format(kRetention, table)))) {
    const std::wstring stored = command.Field(1).asString().operator const SAChar*();
    const std::wstring wanted = Bounded(kDaysBuffer, sys::Format(L"{} days", days));
    if (stored.find(wanted) != std::wstring::npos) return;
    Execute(command, Bounded(kJobQueryBuffer,
                             sys::Format(L"SELECT remove_retention_policy('{}', if_exists => true)", table)));
  }
  if (days > 0) {
    Execute(command,
            Bounded(kJobQueryBuffer,
                    sys::Format(L"SELECT add_retention_policy('{}', INTERVAL '{} days')", table, days)));
  }
}
