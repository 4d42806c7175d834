#include "DbmsAPI/PostgreSQL.h"
#include "DbmsAPI/frame/Operation.h"
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

// Kept: an operation goes on whatever the probe says, even when the server could not be reached: Connect is
// then tried a second time. With a null name nothing is sent, the probe included.

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

// Kept: chunks are maintained only while the extension's version is unknown. Without the extension the server
// then refuses the statement; with a known version nothing is sent.

bool PostgreSQL::GetUncompressedChunkMap(
    std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks) {
  return TimescaleVersion <= 0 && TirelScada::GetUncompressedChunkMap(chunks);
}

bool PostgreSQL::CompressChunk(const wchar_t* chunk) {
  return TimescaleVersion <= 0 && TirelScada::CompressChunk(chunk);
}
