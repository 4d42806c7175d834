#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"

namespace {

constexpr std::size_t kMaxStatementSize = 256;  // of the retention statements
constexpr std::size_t kMaxJobStatementSize = 1024;
constexpr std::size_t kMaxDaysSize = 64;

// The age in a table's retention policy, as JSON text, from the extension's internal catalog. {}: table.
constexpr wchar_t kLegacyRetention[] =
    L"with hypertable as (\tselect id\tfrom _timescaledb_catalog.hypertable\twhere table_name = lower('{}')), "
    L"retention as (\tselect config->'hypertable_id' a, config->'drop_after' b\t"
    L"from _timescaledb_config.bgw_job\twhere application_name like 'Retention Policy%') "
    L"select b from hypertable, retention where a::integer = id";

// {}: table.
constexpr wchar_t kRemoveLegacyRetention[] = L"select remove_retention_policy('{}')";

// The same age, as plain text, from the public view of jobs. {}: table.
constexpr wchar_t kRetention[] =
    L"SELECT config->>'drop_after' FROM timescaledb_information.jobs "
    L"WHERE hypertable_name = lower('{}') AND proc_name = 'policy_retention'";

// {}: table.
constexpr wchar_t kRemoveRetention[] = L"SELECT remove_retention_policy('{}', if_exists => true)";

// {}: table, days.
constexpr wchar_t kAddRetention[] = L"SELECT add_retention_policy('{}', INTERVAL '{} days')";

}  // namespace

bool TirelScada::AdoptHypertable(SACommand& command, const wchar_t* table, std::optional<int> retentionDays) {
  if (const std::optional<short> state = CompressionState(command, table)) {
    if (retentionDays) SetRetentionPolicyLegacy(table, *retentionDays);
    return state == 1;
  }
  CreateHypertable(command, table, retentionDays.value_or(0));
  return false;
}

void TirelScada::SetUpHypertable(SACommand& command, const wchar_t* table, const wchar_t* segmentBy,
                                 std::optional<int> retentionDays) {
  if (TimescaleVersion <= 0) return;
  const bool compressed = AdoptHypertable(command, table, retentionDays);
  if (!compressed) SetCompression(command, table, segmentBy);
  AddCompressionPolicy(command, table);
}

// Kept: this function compares the quoted text for equality and removes the policy without if_exists. The
// next one only searches for the text and removes the policy with if_exists.
void TirelScada::SetRetentionPolicyLegacy(const wchar_t* table, int days) {
  SACommand command(connection.get());
  if (FetchFirst(command, Format(kLegacyRetention, table))) {
    const std::wstring wanted = Bounded(kMaxStatementSize, Format(L"\"{} days\"", days));
    if (command.Field(1).asString() == wanted.c_str()) return;
    Execute(command, Bounded(kMaxStatementSize, Format(kRemoveLegacyRetention, table)));
    if (days >= 1) Execute(command, Bounded(kMaxStatementSize, AddRetentionStatement(table, days)));
  } else if (days >= 1) {
    Execute(command, AddRetentionStatement(table, days));
  }
}

void TirelScada::SetRetentionPolicy(const wchar_t* table, int days) {
  SACommand command(connection.get());
  if (FetchFirst(command, Bounded(kMaxJobStatementSize, Format(kRetention, table)))) {
    const std::wstring stored = command.Field(1).asString().operator const SAChar*();
    const std::wstring wanted = Bounded(kMaxDaysSize, Format(L"{} days", days));
    if (stored.find(wanted) != std::wstring::npos) return;
    Execute(command, Bounded(kMaxJobStatementSize, Format(kRemoveRetention, table)));
  }
  if (days > 0) Execute(command, Bounded(kMaxJobStatementSize, Format(kAddRetention, table, days)));
}
