#include "DbmsAPI/PostgreSQL.h"
#include "DbmsAPI/frame/Operation.h"
#include "DbmsAPI/frame/Sql.h"
#include "DbmsAPI/frame/Timescale.h"

namespace {

constexpr wchar_t kFindExtension[] = L"select * from pg_extension where extname = 'timescaledb'";

}  // namespace

PostgreSQL::PostgreSQL(const wchar_t* serverHost, int serverPort, const wchar_t* databaseName,
                       const wchar_t* userName, const wchar_t* userPassword)
    : TirelScada(serverHost, serverPort, databaseName, userName, userPassword) {
  type = DbmsType::PostgreSQL;
  timescaleEnabled = false;
}

PostgreSQL::~PostgreSQL() = default;

bool PostgreSQL::ProbeTimescaleExtension() {
  return Run([&](SACommand& command) { return timescaleEnabled = FetchFirst(command, kFindExtension); });
}

// Kept: an operation continues whatever the probe finds. When the server cannot be reached, Connect is tried
// twice. A null name sends nothing, not even the probe.

bool PostgreSQL::CreateLogTable(int retentionDays) {
  ProbeTimescaleExtension();
  return TirelScada::CreateLogTable(retentionDays);
}

bool PostgreSQL::CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                                    int retentionDays) {
  if (name) ProbeTimescaleExtension();
  return TirelScada::CreateUserLogTable(name, columns, retentionDays);
}

bool PostgreSQL::CreateAlarmTable(int retentionDays) {
  ProbeTimescaleExtension();
  return TirelScada::CreateAlarmTable(retentionDays);
}

bool PostgreSQL::CreateTagValueTable(const wchar_t* tableName) {
  if (tableName) ProbeTimescaleExtension();
  return TirelScada::CreateTagValueTable(tableName);
}

bool PostgreSQL::PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) {
  if (tableName) ProbeTimescaleExtension();
  return TirelScada::PurgeTagValueTable(tableName, days);
}

bool PostgreSQL::CreatePageTimeListTable() {
  ProbeTimescaleExtension();
  return TirelScada::CreatePageTimeListTable();
}

bool PostgreSQL::CreateReportDataTables(int retentionDays) {
  ProbeTimescaleExtension();
  return TirelScada::CreateReportDataTables(retentionDays);
}

bool PostgreSQL::CreateAuditTable() {
  ProbeTimescaleExtension();
  return TirelScada::CreateAuditTable();
}

bool PostgreSQL::CreateSystemLogTable(int retentionDays) {
  ProbeTimescaleExtension();
  return TirelScada::CreateSystemLogTable(retentionDays);
}

// Kept: chunks are maintained only while the extension's version is unknown. With a known version nothing is
// sent; without the extension the server refuses the statement.

bool PostgreSQL::GetUncompressedChunkMap(
    std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks) {
  return TimescaleVersion <= 0 && TirelScada::GetUncompressedChunkMap(chunks);
}

bool PostgreSQL::CompressChunk(const wchar_t* chunk) {
  return TimescaleVersion <= 0 && TirelScada::CompressChunk(chunk);
}
