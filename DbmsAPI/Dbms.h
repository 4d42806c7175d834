#pragma once

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "ConfigTypes.h"
#include "Export.h"
#include "HistoryTypes.h"
#include "RecordTypes.h"
#include "ReportTypes.h"

class SAConnection;

// Which implementation stands behind a Dbms.
enum class DbmsType : int {
  TirelScada = 0,  // PostgreSQL with TimescaleDB
  PostgreSQL = 1   // PostgreSQL that may lack the extension
};

// Access to the database of a plant's runtime.
//
//   auto dbms = Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 5432, L"scada", L"user", L"secret");
//   if (!dbms->CreateSystemLogTable(90) || !dbms->CreateLogTable(365)) Report(dbms->GetLastError());
//
// Nothing connects before the first operation; each operation connects when there is no connection and
// answers false when it cannot. An operation that fails answers false (InsertSystemLog: a smaller count),
// leaves the server's text in GetLastError, and has not been repeated: after a lost server the next call
// connects afresh. No database error leaves an operation as an exception.
//
// Result containers belong to the caller; rows are appended, nothing is cleared first. A query that finds
// nothing succeeds. What was read before a failure stays in the container.
//
// Names and texts that go into a statement between single quotes are not escaped; each such operation says
// "spliced". Pass only trusted texts without quotes there. "Bound" texts may hold anything.
//
// One thread at a time may use an object and its copies: they share one connection. Different objects
// are independent of each other.
//
// The order of the virtual functions is part of the binary interface and never changes.
class DBMSAPI_EXPORT Dbms {
 public:
  // Chooses the host to go to. Called with the current host after a lost connection and with null on a
  // role change; the text returned (never null, NUL-terminated) becomes the host. Set by the client, before
  // another thread may broadcast a role change.
  std::function<const wchar_t*(const wchar_t*)> hostSelector;

  // Keeps the parameters and makes a connection object. Connects and registers nothing.
  Dbms(const wchar_t* host, int port, const wchar_t* database, const wchar_t* user, const wchar_t* password);
  Dbms(const Dbms& other);             // shares the other's connection; role changes do not reach copies
  Dbms& operator=(const Dbms& other);  // the same
  virtual ~Dbms();                     // the connection closes with its last owner

  // Makes an object of the type and registers it for role changes; empty for any other type.
  // Throws std::bad_alloc or std::system_error only.
  static std::shared_ptr<Dbms> GetDbms(DbmsType type, const wchar_t* host, int port, const wchar_t* database,
                                       const wchar_t* user, const wchar_t* password);

  // The connection, open or not, for statements of the client's own.
  std::shared_ptr<SAConnection> GetConnection();

  // The text of the last failure, empty when there was none; a success does not clear it. Valid until the
  // next failure on this object.
  const wchar_t* GetLastError();

  // The client's role changed: asks hostSelector for the host and drops the connection, so that the next
  // operation connects there. Only objects of type TirelScada with a hostSelector take part.
  void NotifyRoleChange();
  static void BroadcastRoleChange();  // the same for every living object that GetDbms made

  // ---- Connection ----

  // 1: Makes sure that the connection is open. A link that died unnoticed still counts as open.
  virtual bool Connect() = 0;
  // 2: Gives the server's version text, read over a connection of its own; on failure the error's text.
  virtual bool GetServerVersion(std::wstring& text) = 0;

  // ---- Tag history ----

  // 3: Creates or updates datalog and its aggregates datalog_1m and datalog_1h. Samples older than
  // retentionDays are dropped by the server; 0 or less keeps them. The aggregates keep at least twice as
  // long.
  virtual bool CreateLogTable(int retentionDays) = 0;
  // 4: Gives the time of the oldest sample in epoch seconds; untouched while there is none.
  virtual bool GetOldestLogTime(std::int64_t& oldest) = 0;
  // 5: Stores a batch whole or not at all. Left out: samples with a time below 1 ms, without a tag name, or
  // whose value is NaN or infinite, and those whose tag and time are stored already. Values keep ten
  // significant digits.
  virtual bool InsertLogData(const std::vector<LogSample>& samples) = 0;
  // 6: Appends the samples of the tags that are data's keys, both bounds (epoch seconds) included, in time
  // order. Tag names are spliced. Fails for an empty map.
  virtual bool GetLogData(std::int64_t startTime, std::int64_t endTime,
                          std::unordered_map<std::wstring, std::vector<LogPoint>>& data) = 0;

  // ---- User log tables ----

  // 7: Creates user_<name>. A table whose columns differ from the definition is dropped with its rows first.
  virtual bool CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                                  int retentionDays) = 0;
  // 8: Stores one row; its values are SQL literals and spliced.
  virtual bool InsertUserLogData(const wchar_t* name, const UserLogRow& row) = 0;
  // 9: Appends the rows between two instants (epoch seconds, in either order). The condition, when not empty,
  // is SQL with placeholders :1, :2, ... for the binds. No rows when a bound is below 1 or both are equal.
  virtual bool GetUserLogData(const wchar_t* name, std::int64_t startTime, std::int64_t endTime,
                              const wchar_t* condition,
                              const std::vector<std::variant<double, std::wstring>>& binds,
                              std::vector<UserLogRow>& rows) = 0;

  // ---- Alarm history ----

  // 10: Creates or updates the table alarm. A retentionDays of 0 or less keeps alarms for good.
  virtual bool CreateAlarmTable(int retentionDays) = 0;
  // 11: Stores one state change; texts are bound. A freeTimeMs of 0 or less means not cleared. Fails when
  // the tag has a row of that time and status already.
  virtual bool InsertAlarm(std::int64_t timeMs, const wchar_t* tagName, double value, const wchar_t* label,
                           std::int16_t status, std::int16_t type, std::int16_t level, std::int16_t zone,
                           std::int64_t occTimeMs, std::int64_t freeTimeMs) = 0;
  // 12: Appends the alarms between two instants (epoch seconds, included), newest first, that pass the
  // filter. Bit i of a mask selects code i; a mask of 0 selects nothing. An alarm passes when its tag begins
  // with any of the prefixes (spliced; none: all pass) and lies outside the excluded ranges (epoch seconds).
  virtual bool GetAlarmData(std::int64_t startTime, std::int64_t endTime, std::int16_t statusMask,
                            std::int16_t typeMask, std::int16_t levelMask, std::int16_t zoneMask,
                            const std::vector<const wchar_t*>& tagPrefixes,
                            const std::vector<std::pair<std::int64_t, std::int64_t>>& excludedRanges,
                            std::vector<AlarmRecord>& records) = 0;
  // 13: Appends every alarm between two instants (epoch seconds, included), newest first.
  virtual bool GetAllAlarmData(std::int64_t startTime, std::int64_t endTime,
                               std::vector<AlarmRecord>& records) = 0;

  // ---- Report pages: tag values and time lists ----

  // 14: Creates a page's table of text values; the name is lowered.
  virtual bool CreateTagValueTable(const wchar_t* tableName) = 0;
  // 15: Removes the page's values and time intervals that are older than so many days.
  virtual bool PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) = 0;
  // 16: Stores all that is queued with one statement and empties the queue; texts are spliced. False for an
  // empty queue.
  virtual bool InsertTagValueQueue(const wchar_t* tableName,
                                   std::deque<std::vector<TagValueRecord>>& queue) = 0;
  // 17: Stores the records in batches of 1000, each committed; texts are spliced. False for an empty vector.
  // When the last record has no tag name, the batch it ends is not stored.
  virtual bool InsertTagValues(const wchar_t* tableName, const std::vector<TagValueRecord>& records) = 0;
  // 18: Creates pr_timelist or brings an older one up to date.
  virtual bool CreatePageTimeListTable() = 0;
  // 19: Opens an interval of a page; page and users are spliced.
  virtual bool InsertPageTimeList(const wchar_t* pageName, std::int64_t startTimeMs,
                                  const std::vector<std::wstring>& users) = 0;
  // 20: Ends every open interval of a page; the name is spliced.
  virtual bool ClosePageTimeList(const wchar_t* pageName, std::int64_t endTimeMs) = 0;
  // 21: Creates pr_timestamp.
  virtual bool CreatePageTimestampTable() = 0;

  // ---- Report aggregates: kind is "analog" or "digital", period "minute" to "year", both spliced ----

  // 22: Creates the watermark table and the ten aggregate tables; retention holds for minutes and hours.
  virtual bool CreateReportDataTables(int retentionDays) = 0;
  // 23: Gives the instant up to which a kind and period have been aggregated; 0 while that was never set,
  // untouched for an unknown kind.
  virtual bool GetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t* epochSeconds) = 0;
  // 24: Sets it.
  virtual bool SetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t epochSeconds) = 0;
  // 25: Gives the time of the oldest row of a kind and period; untouched while there is none.
  virtual bool GetReportDataFirstTime(const wchar_t* kind, const wchar_t* period,
                                      std::int64_t* epochSeconds) = 0;
  // 26: Stores rows with one statement; those whose tag and time are stored already are left out. Fails for
  // an empty vector and for more than 65535 values: 9 to a row of minutes, 14 to one of longer periods.
  virtual bool InsertReportDigitalData(const wchar_t* period, const std::vector<ReportDigitalData>& rows) = 0;
  // 27: The same for analog rows, of 12 and 18 values.
  virtual bool InsertReportAnalogData(const wchar_t* period, const std::vector<ReportAnalogData>& rows) = 0;
  // 28: Appends the rows of the tags that are data's keys (spliced) between two instants (epoch seconds,
  // included), or of exactly startTime when endTime is 0. Fails for an empty map. Times are right when the
  // process is in the session's time zone, outside of the hour that a clock change repeats, until 2038.
  virtual bool GetReportDigitalData(
      const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
      std::unordered_map<std::wstring, std::vector<ReportDigitalData>>& data) = 0;
  // 29: The same for analog rows.
  virtual bool GetReportAnalogData(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                                   std::unordered_map<std::wstring, std::vector<ReportAnalogData>>& data) = 0;

  // ---- Event reports ----

  // 30: Creates event_report_data or brings an older one up to date.
  virtual bool CreateEventReportTable() = 0;
  // 31: Deletes every capture of a model; the name is spliced.
  virtual bool DeleteEventReportData(const wchar_t* modelName) = 0;
  // 32: Stores one capture whole or not at all; model and sheet are spliced, cells bound. Fails for no cells.
  virtual bool InsertEventReportData(const wchar_t* modelName, const wchar_t* sheet, std::int64_t timeMs,
                                     const std::vector<EventReportCell>& cells) = 0;
  // 33: Appends every stored value of a sheet under its cell, oldest first; model and sheet are spliced.
  virtual bool GetEventReportData(const wchar_t* modelName, const wchar_t* sheet,
                                  std::unordered_map<std::wstring, std::vector<std::wstring>>& values) = 0;

  // ---- Audit trail and user accounts ----

  // 34: Creates audit_table or brings an older one up to date. Audit rows are kept for good.
  virtual bool CreateAuditTable() = 0;
  // 35: Creates userinfo_table and locked_user_list; an account table of more than 17 columns is dropped
  // first.
  virtual bool CreateUserTables() = 0;
  // 36: Deletes every account.
  virtual bool DeleteAllUsers() = 0;
  // 37: Stores accounts one by one; texts are bound. Stops at the first that fails, earlier ones stay.
  virtual bool InsertUsers(const std::vector<UserRecord>& users) = 0;
  // 38: Appends every account. Its times come back as they were stored only while the session's time zone is
  // the process's own.
  virtual bool GetUsers(std::vector<UserRecord>& users) = 0;
  // 39: Appends the ids of the accounts that are logged in.
  virtual bool GetLoggedInUserIds(std::vector<std::wstring>& ids) = 0;

  // ---- System log ----

  // 40: Creates or updates system_log and detects TimescaleDB for the whole process: call it before the other
  // create operations, which leave the extension unused until then.
  virtual bool CreateSystemLogTable(int retentionDays) = 0;
  // 41: Stores records one by one; texts are bound. Gives the number stored before it stopped.
  virtual std::uint64_t InsertSystemLog(const std::vector<SystemLogRecord>& records) = 0;

  // ---- Grid tables: columns and rows count from 1; names and values are spliced ----

  // 42: Creates a table of text cells; one with another number of columns is dropped first.
  virtual bool CreateGridTable(const wchar_t* table, int columnCount) = 0;
  // 43: Drops it.
  virtual bool DropGridTable(const wchar_t* table) = 0;
  // 44: Adds rows of empty cells, numbered from 1: for an empty table.
  virtual bool InsertEmptyGridRows(const wchar_t* table, int columnCount, int rowCount) = 0;
  // 45: Sets one cell; a row that does not exist changes nothing and succeeds.
  virtual bool UpdateGridCell(const wchar_t* table, int column, int row, const wchar_t* value) = 0;
  // 46: Adds a row behind the last; values is the SQL list of its quoted cells.
  virtual bool AppendGridRow(const wchar_t* table, const wchar_t* values) = 0;
  // 47: Gives one cell; empty when the row does not exist.
  virtual bool GetGridCell(const wchar_t* table, int column, int row, std::wstring& value) = 0;
  // 48: Gives the number of rows.
  virtual bool GetGridRowCount(const wchar_t* table, int& count) = 0;
  // 49: Deletes every row.
  virtual bool ClearGridTable(const wchar_t* table) = 0;

  // ---- Network status ----

  // 50: Creates network_table.
  virtual bool CreateNetworkTable() = 0;
  // 51: Stores all records with one statement; texts are bound. Fails for an empty vector.
  virtual bool InsertNetworkStatus(const std::vector<NetworkStatusRecord>& records) = 0;
  // 52: Rewrites every row of a station, address included; texts are spliced.
  virtual bool UpdateNetworkStatus(const wchar_t* station, const wchar_t* status, const wchar_t* address,
                                   int read, int readErr, int readPerct, int write, int writeErr,
                                   int writePerct) = 0;
  // 53: Deletes every row.
  virtual bool DeleteAllNetworkStatus() = 0;

  // ---- Comments, recipe groups and recipes: texts are bound ----

  // 54: Creates the table comment.
  virtual bool CreateCommentTable() = 0;
  // 55: Deletes every comment.
  virtual bool DeleteAllComments() = 0;
  // 56: Stores comments one by one; stops at the first that fails, earlier ones stay.
  virtual bool InsertComments(const std::vector<CommentRecord>& comments) = 0;
  // 57: Creates the table recipe_group.
  virtual bool CreateRecipeGroupTable() = 0;
  // 58: Deletes every recipe group.
  virtual bool DeleteAllRecipeGroups() = 0;
  // 59: Stores groups one by one; stops at the first that fails, earlier ones stay.
  virtual bool InsertRecipeGroups(const std::vector<RecipeGroupRecord>& groups) = 0;
  // 60: Creates the table recipe.
  virtual bool CreateRecipeTable() = 0;
  // 61: Stores a recipe or replaces it; a null or empty description is stored as NULL.
  virtual bool SaveRecipe(const wchar_t* model, const wchar_t* name, const wchar_t* fields,
                          const wchar_t* description) = 0;
  // 62: Appends the recipes of a model, or the one of that name when name is neither null nor empty.
  virtual bool GetRecipes(const wchar_t* model, const wchar_t* name, std::vector<RecipeRecord>& recipes) = 0;
  // 63: Deletes a recipe; one that does not exist is a success.
  virtual bool DeleteRecipe(const wchar_t* model, const wchar_t* name) = 0;

  // ---- GOOSE messages ----

  // 64: Creates iec_goose.
  virtual bool CreateGooseTable() = 0;
  // 65: Does nothing and answers true, connected or not.
  virtual bool ResetGooseLog() = 0;
  // 66: Stores one message, stamped with the server's clock; texts are spliced. Throws std::invalid_argument
  // or std::out_of_range when invalidityTime is no number or no double, before anything is sent.
  virtual bool InsertGooseMessage(const GooseMessageRecord& message) = 0;

  // ---- Signatures ----

  // 67: Creates signinfo_table; one without user_id is dropped first.
  virtual bool CreateSignatureTable() = 0;

  // ---- Chunk maintenance ----

  // 68: Appends, by hypertable, the chunks that ended over a day ago and are not compressed. True when the
  // map holds anything afterwards.
  virtual bool GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks);
  // 69: Compresses one chunk of that map; the name is spliced.
  virtual bool CompressChunk(const wchar_t* chunk);

 protected:
  DbmsType type;
  std::wstring host;
  int port;
  std::wstring database;
  std::wstring user;
  std::wstring password;
  std::wstring lastError;
  std::shared_ptr<SAConnection> connection;
};
