#include "DbmsAPI/frame/Timescale.h"

#include <algorithm>
#include <cwchar>

#include "DbmsAPI/frame/Format.h"
#include "DbmsAPI/frame/Sql.h"

namespace {

constexpr wchar_t kExtensionVersion[] = L"select extversion from pg_extension where extname = 'timescaledb'";

// {}: table.
constexpr wchar_t kCompressionState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = '{}'";

// {}: table.
constexpr wchar_t kCreateByRange[] = L"SELECT create_hypertable('{}', by_range('time', INTERVAL '1 day'))";
constexpr wchar_t kCreateByInterval[] =
    L"SELECT create_hypertable('{}', 'time', chunk_time_interval => INTERVAL '1 day')";

// {}: table, columns to segment by.
constexpr wchar_t kEnableColumnstore[] =
    L"ALTER TABLE {} SET (timescaledb.enable_columnstore,"
    L"timescaledb.orderby = 'time',"
    L"timescaledb.segmentby = '{}')";
constexpr wchar_t kEnableCompression[] =
    L"ALTER TABLE {} SET (timescaledb.compress, "
    L"timescaledb.compress_orderby = 'time', "
    L"timescaledb.compress_segmentby = '{}')";

// {}: table.
constexpr wchar_t kFindCompressionPolicy[] =
    L"SELECT * FROM timescaledb_information.jobs "
    L"WHERE proc_name = 'policy_compression' AND hypertable_name = '{}'";

// {}: table.
constexpr wchar_t kAddColumnstorePolicy[] = L"CALL add_columnstore_policy('{}', INTERVAL '1 day')";
constexpr wchar_t kAddCompressionPolicy[] = L"SELECT add_compression_policy('{}', INTERVAL '1 day')";

// {}: table, days.
constexpr wchar_t kAddRetentionPolicy[] = L"select add_retention_policy('{}', interval '{} days')";

// The number that a text begins with, 0 for none; limited, so that no version overflows.
int LeadingNumber(const wchar_t* text) {
  return static_cast<int>(std::clamp(std::wcstol(text, nullptr, 10), -9999L, 9999L));
}

bool HasColumnstore() { return TimescaleVersion >= kColumnstoreVersion; }

}  // namespace

std::atomic<int> TimescaleVersion{0};

void DetectTimescaleVersion(SAConnection* connection) {
  SACommand command(connection);
  if (!FetchFirst(command, kExtensionVersion)) return;
  const std::wstring version = command.Field(1).asString().operator const SAChar*();
  // Kept: without a point the same number is read as major and minor.
  const std::size_t point = version.find(L'.');
  const wchar_t* const afterPoint = version.c_str() + (point == version.npos ? 0 : point + 1);
  TimescaleVersion = LeadingNumber(version.c_str()) * 100 + LeadingNumber(afterPoint);
}

std::optional<short> CompressionState(SACommand& command, const wchar_t* table) {
  if (!FetchFirst(command, Format(kCompressionState, table))) return std::nullopt;
  return command.Field(1).asShort();
}

void CreateHypertable(SACommand& command, const wchar_t* table, int retentionDays) {
  Execute(command, TimescaleVersion >= kByRangeVersion ? Format(kCreateByRange, table)
                                                       : Format(kCreateByInterval, table));
  if (retentionDays > 0) Execute(command, AddRetentionStatement(table, retentionDays));
}

void SetCompression(SACommand& command, const wchar_t* table, const wchar_t* segmentBy) {
  Execute(command, HasColumnstore() ? Format(kEnableColumnstore, table, segmentBy)
                                    : Format(kEnableCompression, table, segmentBy));
}

void AddCompressionPolicy(SACommand& command, const wchar_t* table) {
  if (FetchFirst(command, Format(kFindCompressionPolicy, table))) return;
  Execute(command,
          HasColumnstore() ? Format(kAddColumnstorePolicy, table) : Format(kAddCompressionPolicy, table));
}

std::wstring AddRetentionStatement(const wchar_t* table, int days) {
  return Format(kAddRetentionPolicy, table, days);
}
