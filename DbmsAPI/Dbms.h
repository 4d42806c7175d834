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

// Which implementation a Dbms is.
enum class DbmsType : int {
  TirelScada = 0,  // PostgreSQL with TimescaleDB
  PostgreSQL = 1   // PostgreSQL that may lack the extension
};

// Access to the database of a plant's runtime.
//
//   auto dbms = Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 5432, L"scada", L"user", L"secret");
//   if (!dbms->CreateSystemLogTable(90) || !dbms->CreateLogTable(365)) Report(dbms->GetLastError());
//
// Nothing connects before the first operation. Each operation connects when there is no connection, and
// returns false when it cannot. An operation that fails returns false (InsertSystemLog: a smaller count) and
// leaves the message in GetLastError. It is not repeated. If the connection was refused or has broken, the
// next operation connects again. No database error leaves an operation as an exception.
//
// Aggregates, compression and retention need TimescaleDB and, in each process, one call of
// CreateSystemLogTable. Without these the tables are plain, and the server drops no rows.
//
// Result containers belong to the caller. Rows are appended; nothing is cleared first. A query that finds
// nothing succeeds. What was read before a failure stays in the container.
//
// Texts. "Spliced" texts go into a statement as they are, names and values without escaping: pass only
// trusted texts without quotes. "Bound" texts are sent as parameters and may hold anything but a NUL
// character, which PostgreSQL cannot store: a std::wstring that holds one makes the operation return false.
// A null pointer makes it return false too: GetLastError names the argument, and nothing is sent. An argument
// that may be null says so.
//
// One thread at a time may use an object and its copies, which share one connection. Different objects are
// independent of each other.
//
// The order of the virtual functions is part of the binary interface and never changes.
class DBMSAPI_EXPORT Dbms {
 public:
  // Chooses the host of the next connection. Called with the current host after a connection was refused or
  // has broken, and with null on a role change. The NUL-terminated text that it returns becomes the host;
  // null keeps the host. It may return the text that it was given, and it may call NotifyRoleChange. Set it
  // before another thread may broadcast a role change.
  //
  // It is not asked when a host does not answer ("timeout expired", "No route to host"), nor when the server
  // is a standby that refuses to write (SQLSTATE 25006). A selector that returns the hosts in turn may
  // therefore stay at a standby for ever. Name several hosts instead (see GetDbms), or let the selector
  // return the known primary and call NotifyRoleChange after such failures. docs/high-availability.md says
  // what each way costs.
  //
  // An exception that it throws leaves the operation, or NotifyRoleChange, after the connection was dropped;
  // the host is kept. BroadcastRoleChange continues with the other objects, then throws the first exception.
  std::function<const wchar_t*(const wchar_t*)> hostSelector;

  // Keeps the parameters and makes a connection object. Does not connect or register the object. A null text
  // is the empty text.
  Dbms(const wchar_t* host, int port, const wchar_t* database, const wchar_t* user, const wchar_t* password);
  Dbms(const Dbms& other);             // shares the other's connection; role changes do not reach copies
  Dbms& operator=(const Dbms& other);  // the same
  virtual ~Dbms();                     // the connection closes with its last owner

  // Makes an object of the type and registers it for role changes; returns null for any other type. A null
  // text is the empty text. For an empty text, libpq uses its environment (PGHOST, PGUSER and so on).
  //
  // `database` may hold connection keywords, and `host` several hosts that have the same port: with the host
  // "a,b" and the database "dbname=scada target_session_attrs=read-write connect_timeout=2" each connection
  // goes to whichever of them accepts writes. This needs no hostSelector. The keywords connect_timeout,
  // keepalives_idle, keepalives_interval, keepalives_count and tcp_user_timeout say how long an operation
  // waits for a silent network; SAConnection::Connect in SQLAPI.h has their defaults.
  //
  // A plant needs a database of its own, not just a schema: several operations look at every schema.
  //
  // Throws std::bad_alloc or std::system_error only.
  static std::shared_ptr<Dbms> GetDbms(DbmsType type, const wchar_t* host, int port, const wchar_t* database,
                                       const wchar_t* user, const wchar_t* password);

  // The connection, open or not, for statements of the client's own.
  std::shared_ptr<SAConnection> GetConnection();

  // The message of the last failure, empty when there was none. A success does not clear it. Valid until the
  // next failure of this object.
  const wchar_t* GetLastError();

  // The client's role changed: asks hostSelector for the host and drops the connection, so that the next
  // operation connects there. Only objects of type TirelScada with a hostSelector take part. Never call it
  // while another thread is inside an operation of this object or of a copy of it: both would change the
  // connection at once, which corrupts memory.
  void NotifyRoleChange();
  // The same for every living object that GetDbms made. Never call it while any thread is inside an operation
  // of such an object.
  static void BroadcastRoleChange();

  // ---- Connection ----

  // 1: Connects unless the connection is open. A connection that has broken unnoticed counts as open.
  virtual bool Connect() = 0;
  // 2: Gets the server's version text over a separate connection. On failure `text` is the error message.
  virtual bool GetServerVersion(std::wstring& text) = 0;

  // ---- Tag history ----

  // 3: Creates or updates datalog and its aggregates datalog_1m and datalog_1h. The server drops samples that
  // are older than retentionDays, and aggregates at least twice as old. 0 or less keeps samples, and drops
  // the policy of an earlier call. The aggregates may then keep their policies: the text "730 days" contains
  // "0 days", so such a policy counts as up to date. `select remove_retention_policy('datalog_1m')` removes
  // it.
  virtual bool CreateLogTable(int retentionDays) = 0;
  // 4: Gets the time of the oldest sample in epoch seconds; leaves `oldest` unchanged when there is none.
  virtual bool GetOldestLogTime(std::int64_t& oldest) = 0;
  // 5: Stores a batch whole or not at all. Skips samples with a time below 1 ms, without a tag name, or whose
  // value is NaN or infinite, and samples whose tag and time are stored already. Of several samples with one
  // tag and time in a batch, one is stored; which one is not defined. Values keep ten significant digits.
  virtual bool InsertLogData(const std::vector<LogSample>& samples) = 0;
  // 6: Appends the samples of the tags that are the keys of `data`, in time order. Bounds are epoch seconds
  // and included. Tag names are spliced. Fails for an empty map.
  virtual bool GetLogData(std::int64_t startTime, std::int64_t endTime,
                          std::unordered_map<std::wstring, std::vector<LogPoint>>& data) = 0;

  // ---- User log tables ----

  // 7: Creates user_<name>, or changes its retention. A table whose columns differ from the definition is
  // first dropped with its rows. If others read the table meanwhile, this may end in a deadlock: the
  // operation returns false, the old table is intact, and a second call succeeds. A retentionDays of 0 or
  // less keeps rows.
  virtual bool CreateUserLogTable(const wchar_t* name, const std::vector<UserLogColumn>& columns,
                                  int retentionDays) = 0;
  // 8: Stores one row. Its values are SQL literals and are spliced.
  virtual bool InsertUserLogData(const wchar_t* name, const UserLogRow& row) = 0;
  // 9: Appends the rows between two instants (epoch seconds, included, in either order). The condition is SQL
  // with placeholders :1, :2, ... for the binds; null or empty is no condition. When a bound is below 1 or
  // both are equal, there are no rows.
  virtual bool GetUserLogData(const wchar_t* name, std::int64_t startTime, std::int64_t endTime,
                              const wchar_t* condition,
                              const std::vector<std::variant<double, std::wstring>>& binds,
                              std::vector<UserLogRow>& rows) = 0;

  // ---- Alarm history ----

  // 10: Creates or updates the table alarm. The server drops alarms that are older than retentionDays; 0 or
  // less keeps them.
  virtual bool CreateAlarmTable(int retentionDays) = 0;
  // 11: Stores one state change; texts are bound. Instants are epoch milliseconds. A freeTimeMs of 0 or less
  // means not cleared. Fails when the tag already has a row of that time and status.
  virtual bool InsertAlarm(std::int64_t timeMs, const wchar_t* tagName, double value, const wchar_t* label,
                           std::int16_t status, std::int16_t type, std::int16_t level, std::int16_t zone,
                           std::int64_t occTimeMs, std::int64_t freeTimeMs) = 0;
  // 12: Appends the alarms between two instants (epoch seconds, included) that pass the filter, newest first.
  // - Masks: bit i selects code i. With a mask of 0 no alarm passes and nothing is sent. The masks that
  //   select all codes are 0xF for status, 0x1FFF for type, -2 for level and -1 for zone. A level mask never
  //   selects level 0, except when it selects all others. A mask that selects none of the codes that exist
  //   makes the operation fail.
  // - Prefixes: the tag begins with one of them; they are spliced. Without prefixes every tag passes.
  // - Excluded ranges (epoch seconds, included): an alarm that lies in all of them at once is left out. They
  //   work only while every mask selects all codes: otherwise the server refuses the statement.
  virtual bool GetAlarmData(std::int64_t startTime, std::int64_t endTime, std::int16_t statusMask,
                            std::int16_t typeMask, std::int16_t levelMask, std::int16_t zoneMask,
                            const std::vector<const wchar_t*>& tagPrefixes,
                            const std::vector<std::pair<std::int64_t, std::int64_t>>& excludedRanges,
                            std::vector<AlarmRecord>& records) = 0;
  // 13: Appends all alarms between two instants (epoch seconds, included), newest first.
  virtual bool GetAllAlarmData(std::int64_t startTime, std::int64_t endTime,
                               std::vector<AlarmRecord>& records) = 0;

  // ---- Report pages: tag values and time lists ----

  // 14: Creates a page's table of text values, with its name (spliced) in lower case.
  virtual bool CreateTagValueTable(const wchar_t* tableName) = 0;
  // 15: Removes the page's values and time intervals that are older than `days` days; the name is spliced.
  // With TimescaleDB values are removed in chunks of one day, so some may stay for up to a day longer.
  virtual bool PurgeTagValueTable(const wchar_t* tableName, std::int64_t days) = 0;
  // 16: Stores everything in the queue with one statement; texts are spliced. Empties the queue, even when
  // the statement fails. Returns false for an empty queue.
  virtual bool InsertTagValueQueue(const wchar_t* tableName,
                                   std::deque<std::vector<TagValueRecord>>& queue) = 0;
  // 17: Stores the records in batches of 1000 rows and commits each batch; texts are spliced. Returns false
  // for an empty vector. When the last record has no tag name, the last batch is not stored.
  virtual bool InsertTagValues(const wchar_t* tableName, const std::vector<TagValueRecord>& records) = 0;
  // 18: Creates pr_timelist or migrates an older one.
  virtual bool CreatePageTimeListTable() = 0;
  // 19: Stores the start of an interval of a page; page and users are spliced.
  virtual bool InsertPageTimeList(const wchar_t* pageName, std::int64_t startTimeMs,
                                  const std::vector<std::wstring>& users) = 0;
  // 20: Stores the end of every open interval of a page; the name is spliced.
  virtual bool ClosePageTimeList(const wchar_t* pageName, std::int64_t endTimeMs) = 0;
  // 21: Creates pr_timestamp.
  virtual bool CreatePageTimestampTable() = 0;

  // ---- Report aggregates: kind is "analog" or "digital", period "minute" to "year", both spliced ----

  // 22: Creates or updates the watermark table and the ten aggregate tables. The server drops rows of minutes
  // and hours that are older than retentionDays; 0 or less keeps them.
  virtual bool CreateReportDataTables(int retentionDays) = 0;
  // 23: Gets the watermark of a kind and period, the instant (epoch seconds) up to which it is aggregated. It
  // is 0 until set. Leaves epochSeconds unchanged for an unknown kind.
  virtual bool GetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t* epochSeconds) = 0;
  // 24: Sets the watermark of a kind and period.
  virtual bool SetReportDataTime(const wchar_t* kind, const wchar_t* period, std::int64_t epochSeconds) = 0;
  // 25: Gets the time (epoch seconds) of the oldest row of a kind and period; leaves epochSeconds unchanged
  // when there is none.
  virtual bool GetReportDataFirstTime(const wchar_t* kind, const wchar_t* period,
                                      std::int64_t* epochSeconds) = 0;
  // 26: Stores digital rows with one statement. Skips rows whose tag and time are stored already. Fails for
  // an empty vector and for more than 65,535 values; a row of minutes has 9, a row of a longer period 14.
  virtual bool InsertReportDigitalData(const wchar_t* period, const std::vector<ReportDigitalData>& rows) = 0;
  // 27: Stores analog rows with one statement. Skips rows whose tag and time are stored already. Fails for an
  // empty vector and for more than 65,535 values; a row of minutes has 12, a row of a longer period 18.
  virtual bool InsertReportAnalogData(const wchar_t* period, const std::vector<ReportAnalogData>& rows) = 0;
  // 28: Appends the digital rows of the tags that are the keys of `data` (spliced) between two instants
  // (epoch seconds, included), or at startTime when endTime is 0. Fails for an empty map. Times are right
  // until 2038 while process and session are in one time zone, except in the hour that a clock change
  // repeats.
  virtual bool GetReportDigitalData(
      const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
      std::unordered_map<std::wstring, std::vector<ReportDigitalData>>& data) = 0;
  // 29: Appends the analog rows of the tags that are the keys of `data` (spliced) between two instants (epoch
  // seconds, included), or at startTime when endTime is 0. Fails for an empty map. Times are right until 2038
  // while process and session are in one time zone, except in the hour that a clock change repeats.
  virtual bool GetReportAnalogData(const wchar_t* period, std::int64_t startTime, std::int64_t endTime,
                                   std::unordered_map<std::wstring, std::vector<ReportAnalogData>>& data) = 0;

  // ---- Event reports ----

  // 30: Creates event_report_data or migrates an older one. Fails for an older one that holds rows; that
  // table then has no primary key.
  virtual bool CreateEventReportTable() = 0;
  // 31: Deletes all captures of a model; the name is spliced.
  virtual bool DeleteEventReportData(const wchar_t* modelName) = 0;
  // 32: Stores one capture whole or not at all. Model and sheet are spliced, cells and values bound. Fails
  // for an empty vector.
  virtual bool InsertEventReportData(const wchar_t* modelName, const wchar_t* sheet, std::int64_t timeMs,
                                     const std::vector<EventReportCell>& cells) = 0;
  // 33: Appends all stored values of a sheet by cell, oldest first; model and sheet are spliced.
  virtual bool GetEventReportData(const wchar_t* modelName, const wchar_t* sheet,
                                  std::unordered_map<std::wstring, std::vector<std::wstring>>& values) = 0;

  // ---- Audit trail and user accounts ----

  // 34: Creates audit_table or migrates an older one. Audit rows have no retention.
  virtual bool CreateAuditTable() = 0;
  // 35: Creates userinfo_table and locked_user_list. An account table of more than 17 columns is first
  // dropped with its rows.
  virtual bool CreateUserTables() = 0;
  // 36: Deletes all accounts.
  virtual bool DeleteAllUsers() = 0;
  // 37: Stores accounts one by one; texts are bound. Stops at the first that fails; earlier ones stay.
  virtual bool InsertUsers(const std::vector<UserRecord>& users) = 0;
  // 38: Appends all accounts. Times are right until 2038 while process and session are in one time zone,
  // except in the hour that a clock change repeats.
  virtual bool GetUsers(std::vector<UserRecord>& users) = 0;
  // 39: Appends the ids of the accounts that are logged in.
  virtual bool GetLoggedInUserIds(std::vector<std::wstring>& ids) = 0;

  // ---- System log ----

  // 40: Detects TimescaleDB for the whole process, then creates or updates system_log. Call it before the
  // other create operations: they use the extension only afterwards. The server drops records that are older
  // than retentionDays; 0 or less keeps them.
  virtual bool CreateSystemLogTable(int retentionDays) = 0;
  // 41: Stores records one by one; texts are bound. Stops at the first that fails; earlier ones stay. Returns
  // the number stored.
  virtual std::uint64_t InsertSystemLog(const std::vector<SystemLogRecord>& records) = 0;

  // ---- Grid tables: columns and rows count from 1; names and values are spliced ----

  // 42: Creates a table of text cells. A table with another number of columns is first dropped with its rows;
  // so is a table whose name is given with capitals.
  virtual bool CreateGridTable(const wchar_t* table, int columnCount) = 0;
  // 43: Drops a grid table.
  virtual bool DropGridTable(const wchar_t* table) = 0;
  // 44: Adds rows of empty cells, numbered from 1, to an empty table.
  virtual bool InsertEmptyGridRows(const wchar_t* table, int columnCount, int rowCount) = 0;
  // 45: Sets one cell. Succeeds without a change when the row does not exist.
  virtual bool UpdateGridCell(const wchar_t* table, int column, int row, const wchar_t* value) = 0;
  // 46: Adds a row, numbered by the count of rows plus one. `values` is the SQL list of its quoted cells.
  virtual bool AppendGridRow(const wchar_t* table, const wchar_t* values) = 0;
  // 47: Gets one cell, or the empty text when the row does not exist.
  virtual bool GetGridCell(const wchar_t* table, int column, int row, std::wstring& value) = 0;
  // 48: Gets the number of rows of a grid table.
  virtual bool GetGridRowCount(const wchar_t* table, int& count) = 0;
  // 49: Deletes all rows of a grid table.
  virtual bool ClearGridTable(const wchar_t* table) = 0;

  // ---- Network status ----

  // 50: Creates network_table.
  virtual bool CreateNetworkTable() = 0;
  // 51: Stores all records with one statement; texts are bound. Fails for an empty vector.
  virtual bool InsertNetworkStatus(const std::vector<NetworkStatusRecord>& records) = 0;
  // 52: Sets status, address and counters in all rows of a station; texts are spliced. Succeeds without a
  // change when the station has no row.
  virtual bool UpdateNetworkStatus(const wchar_t* station, const wchar_t* status, const wchar_t* address,
                                   int read, int readErr, int readPerct, int write, int writeErr,
                                   int writePerct) = 0;
  // 53: Deletes all rows of network_table.
  virtual bool DeleteAllNetworkStatus() = 0;

  // ---- Comments, recipe groups and recipes: texts are bound ----

  // 54: Creates the table comment.
  virtual bool CreateCommentTable() = 0;
  // 55: Deletes all comments.
  virtual bool DeleteAllComments() = 0;
  // 56: Stores comments one by one. Stops at the first that fails; earlier ones stay.
  virtual bool InsertComments(const std::vector<CommentRecord>& comments) = 0;
  // 57: Creates the table recipe_group.
  virtual bool CreateRecipeGroupTable() = 0;
  // 58: Deletes all recipe groups.
  virtual bool DeleteAllRecipeGroups() = 0;
  // 59: Stores recipe groups one by one. Stops at the first that fails; earlier ones stay.
  virtual bool InsertRecipeGroups(const std::vector<RecipeGroupRecord>& groups) = 0;
  // 60: Creates the table recipe.
  virtual bool CreateRecipeTable() = 0;
  // 61: Stores a recipe or replaces it. A null or empty description is stored as NULL.
  virtual bool SaveRecipe(const wchar_t* model, const wchar_t* name, const wchar_t* fields,
                          const wchar_t* description) = 0;
  // 62: Appends all recipes of a model when `name` is null or empty, else the one of that name.
  virtual bool GetRecipes(const wchar_t* model, const wchar_t* name, std::vector<RecipeRecord>& recipes) = 0;
  // 63: Deletes a recipe. Succeeds when it does not exist.
  virtual bool DeleteRecipe(const wchar_t* model, const wchar_t* name) = 0;

  // ---- GOOSE messages ----

  // 64: Creates iec_goose.
  virtual bool CreateGooseTable() = 0;
  // 65: Does nothing and returns true, connected or not.
  virtual bool ResetGooseLog() = 0;
  // 66: Stores one message with the server's time; texts are spliced. Before anything is sent, throws
  // std::invalid_argument when invalidityTime is not a number, and std::out_of_range when a double cannot
  // hold it.
  virtual bool InsertGooseMessage(const GooseMessageRecord& message) = 0;

  // ---- Signatures ----

  // 67: Creates signinfo_table. A table without the column user_id is first dropped with its rows.
  virtual bool CreateSignatureTable() = 0;

  // ---- Chunk maintenance ----

  // 68: Appends, by hypertable, the chunks that ended over a day ago and are not compressed. Returns whether
  // the map holds anything afterwards, so false may just mean that there is nothing to compress.
  virtual bool GetUncompressedChunkMap(std::unordered_map<std::wstring, std::vector<std::wstring>>& chunks);
  // 69: Compresses one chunk, named as GetUncompressedChunkMap names it (spliced). Fails, without harm, when
  // the chunk is compressed already.
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
