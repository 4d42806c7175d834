#pragma once

#include <optional>

#include "Dbms.h"

class SACommand;
class SAException;
class TagNameCache;

// PostgreSQL with TimescaleDB: the 69 operations, grouped by the file under DbmsAPI/ that holds them.
class TirelScada : public Dbms {
 public:
  TirelScada(const wchar_t* host, int port, const wchar_t* database, const wchar_t* user,
             const wchar_t* password);
  ~TirelScada() override;

  // See DbmsAPI/Diagnostics.h.
  const std::string& LastSqlState() const { return lastSqlState; }

  // frame/Connection.cpp
  bool Connect() override;
  bool GetServerVersion(std::wstring& text) override;

  // history/TagHistorySchema.cpp
  bool CreateLogTable(int retentionDays) override;
  bool GetOldestLogTime(std::int64_t& oldest) override;

  // history/TagHistoryInsert.cpp
  bool InsertLogData(const std::vector<LogSample>& samples) override;

  // history/TagHistoryQuery.cpp
  bool GetLogData(std::int64_t startTime, std::int64_t endTime,
                  std::unordered_map<std::wstring, std::vector<LogPoint>>& data) override;

  // history/UserLogs.cpp
  bool CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                          int retentionDays) override;
  bool InsertUserLogData(const wchar_t* name, const UserLogRow& row) override;
  bool GetUserLogData(const wchar_t* name, std::int64_t startTime, std::int64_t endTime,
                      const wchar_t* condition, const std::vector<std::variant<double, std::wstring>>& binds,
                      std::vector<UserLogRow>& rows) override;

  // history/AlarmTable.cpp
  bool CreateAlarmTable(int retentionDays) override;
  bool InsertAlarm(std::int64_t timeMs, const wchar_t* tagName, double value, const wchar_t* label,
                   std::int16_t status, std::int16_t type, std::int16_t level, std::int16_t zone,
                   std::int64_t occTimeMs, std::int64_t freeTimeMs) override;

  // history/AlarmQuery.cpp
  bool GetAlarmData(std::int64_t startTime, std::int64_t endTime, std::int16_t statusMask,
                    std::int16_t typeMask, std::int16_t levelMask, std::int16_t zoneMask,
                    const std::vector<const wchar_t*>& tagPrefixes,
                    const std::vector<std::pair<std::int64_t, std::int64_t>>& excludedRanges,
                    std::vector<AlarmRecord>& records) override;
  bool GetAllAlarmData(std::int64_t startTime, std::int64_t endTime,
                       std::vector<AlarmRecord>& records) override;

  // reports/TagValues.cpp
  bool CreateTagValueTable(const wchar_t* tableName) override;
  bool PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) override;
  bool InsertTagValueQueue(const wchar_t* tableName, std::deque<std::vector<TagValueRecord>>& queue) override;
  bool InsertTagValues(const wchar_t* tableName, const std::vector<TagValueRecord>& records) override;

  // reports/PageTimeList.cpp
  bool CreatePageTimeListTable() override;
  bool InsertPageTimeList(const wchar_t* pageName, std::int64_t startTimeMs,
                          const std::vector<std::wstring>& users) override;
  bool ClosePageTimeList(const wchar_t* pageName, std::int64_t endTimeMs) override;
  bool CreatePageTimestampTable() override;

  // reports/ReportStore.cpp
  bool CreateReportDataTables(int retentionDays) override;
  bool GetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t* epochSeconds) override;
  bool SetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t epochSeconds) override;
  bool GetReportDataFirstTime(const wchar_t* kind, const wchar_t* period,
                              std::int64_t* epochSeconds) override;

  // reports/ReportData.cpp
  bool InsertReportDigitalData(const wchar_t* period, const std::vector<ReportDigitalData>& rows) override;
  bool InsertReportAnalogData(const wchar_t* period, const std::vector<ReportAnalogData>& rows) override;
  bool GetReportDigitalData(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                            std::unordered_map<std::wstring, std::vector<ReportDigitalData>>& data) override;
  bool GetReportAnalogData(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                           std::unordered_map<std::wstring, std::vector<ReportAnalogData>>& data) override;

  // reports/EventReport.cpp
  bool CreateEventReportTable() override;
  bool DeleteEventReportData(const wchar_t* modelName) override;
  bool InsertEventReportData(const wchar_t* modelName, const wchar_t* sheet, std::int64_t timeMs,
                             const std::vector<EventReportCell>& cells) override;
  bool GetEventReportData(const wchar_t* modelName, const wchar_t* sheet,
                          std::unordered_map<std::wstring, std::vector<std::wstring>>& values) override;

  // records/AuditTrail.cpp
  bool CreateAuditTable() override;

  // records/Users.cpp
  bool CreateUserTables() override;
  bool DeleteAllUsers() override;
  bool InsertUsers(const std::vector<UserRecord>& users) override;
  bool GetUsers(std::vector<UserRecord>& users) override;
  bool GetLoggedInUserIds(std::vector<std::wstring>& ids) override;

  // records/SystemLog.cpp
  bool CreateSystemLogTable(int retentionDays) override;
  std::uint64_t InsertSystemLog(const std::vector<SystemLogRecord>& records) override;

  // config/GridTables.cpp
  bool CreateGridTable(const wchar_t* table, int columnCount) override;
  bool DropGridTable(const wchar_t* table) override;
  bool InsertEmptyGridRows(const wchar_t* table, int columnCount, int rowCount) override;
  bool UpdateGridCell(const wchar_t* table, int column, int row, const wchar_t* value) override;
  bool AppendGridRow(const wchar_t* table, const wchar_t* values) override;
  bool GetGridCell(const wchar_t* table, int column, int row, std::wstring& value) override;
  bool GetGridRowCount(const wchar_t* table, int& count) override;
  bool ClearGridTable(const wchar_t* table) override;

  // config/NetworkStatus.cpp
  bool CreateNetworkTable() override;
  bool InsertNetworkStatus(const std::vector<NetworkStatusRecord>& records) override;
  bool UpdateNetworkStatus(const wchar_t* station, const wchar_t* status, const wchar_t* address, int read,
                           int readErr, int readPerct, int write, int writeErr, int writePerct) override;
  bool DeleteAllNetworkStatus() override;

  // config/Comments.cpp
  bool CreateCommentTable() override;
  bool DeleteAllComments() override;
  bool InsertComments(const std::vector<CommentRecord>& comments) override;

  // config/RecipeGroups.cpp
  bool CreateRecipeGroupTable() override;
  bool DeleteAllRecipeGroups() override;
  bool InsertRecipeGroups(const std::vector<RecipeGroupRecord>& groups) override;

  // config/Recipes.cpp
  bool CreateRecipeTable() override;
  bool SaveRecipe(const wchar_t* model, const wchar_t* name, const wchar_t* fields,
                  const wchar_t* description) override;
  bool GetRecipes(const wchar_t* model, const wchar_t* name, std::vector<RecipeRecord>& recipes) override;
  bool DeleteRecipe(const wchar_t* model, const wchar_t* name) override;

  // config/GooseLog.cpp
  bool CreateGooseTable() override;
  bool ResetGooseLog() override;
  bool InsertGooseMessage(const GooseMessageRecord& message) override;

  // records/Signatures.cpp
  bool CreateSignatureTable() override;

  // frame/ChunkCompression.cpp
  bool GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks) override;
  bool CompressChunk(const wchar_t* chunk) override;

 protected:
  // The shape of every operation, frame/Operation.h.

  // Runs the body and returns its result. A database error goes to HandleDbException and gives false.
  template <class Body>
  bool Guard(Body&& body);
  // Connects, then runs the body under Guard with a command on the connection.
  template <class Body>
  bool Run(Body&& body);
  // The same for a statement without parameters or rows.
  bool Run(const wchar_t* statement);

  // frame/Connection.cpp

  // Reports the failure, and drops the connection to a server that is gone.
  void HandleDbException(const SAException& error);
  // Keeps the text of a failure without an SQLSTATE and writes the debug line.
  void ReportFailure(int errorClass, int nativeCode, const std::wstring& text);
  // Connects with the parameters of the object.
  void ConnectTo(SAConnection& target);
  // Whether a connection that counts as open has broken. Asks the server.
  bool ConnectionLost();
  // Lets hostSelector choose another host and drops the connection.
  void AbandonServer();

  // frame/Hypertable.cpp

  // Makes a table a hypertable unless it is one, and sets its retention (0 or less days: no policy). Returns
  // whether compression is already set up.
  bool AdoptHypertable(SACommand& command, const wchar_t* table, std::optional<int> retentionDays);
  // The same, then sets up compression by segment columns and its policy. Does nothing while the extension's
  // version is unknown.
  void SetUpHypertable(SACommand& command, const wchar_t* table, const wchar_t* segmentBy,
                       std::optional<int> retentionDays);
  // Sets the retention of a table, read from the extension's internal catalog.
  void SetRetentionPolicyLegacy(const wchar_t* table, int days);
  // Sets the retention of a continuous aggregate, read from the public view of jobs.
  void SetRetentionPolicy(const wchar_t* table, int days);

  bool timescaleEnabled;
  std::string lastSqlState;  // of the failure in lastError
  std::shared_ptr<TagNameCache>
      utf8NameCache;       // made by the first batch; shared by copies, as the connection is
  std::string copyBuffer;  // outgoing COPY text; keeps its capacity
};
