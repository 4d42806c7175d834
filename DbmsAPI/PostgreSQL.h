#pragma once

#include "TirelScada.h"

// PostgreSQL that may lack TimescaleDB. Operations that create or purge tables first find out whether the
// extension is installed, then do what TirelScada does.
class PostgreSQL : public TirelScada {
 public:
  PostgreSQL(const wchar_t* host, int port, const wchar_t* database, const wchar_t* user,
             const wchar_t* password);
  ~PostgreSQL() override;

  // frame/PostgreSQL.cpp
  bool CreateLogTable(int retentionDays) override;
  bool CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                          int retentionDays) override;
  bool CreateAlarmTable(int retentionDays) override;
  bool CreateTagValueTable(const wchar_t* tableName) override;
  bool PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) override;
  bool CreatePageTimeListTable() override;
  bool CreateReportDataTables(int retentionDays) override;
  bool CreateAuditTable() override;
  bool CreateSystemLogTable(int retentionDays) override;
  bool GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks) override;
  bool CompressChunk(const wchar_t* chunk) override;

 private:
  // Sets timescaleEnabled; leaves it alone when the probe fails. Returns whether the extension was found.
  bool ProbeTimescaleExtension();
};
