#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"
#include "DbmsAPI/RecordTypes.h"
#include "DbmsAPI/ReportTypes.h"

// The baseline: hand-written libpq code for some of the library's operations, with the same statements and
// nothing else.

namespace baseline {

using History = std::unordered_map<std::wstring, std::vector<LogPoint>>;
using Reports = std::unordered_map<std::wstring, std::vector<ReportAnalogData>>;

// How the rows of a query are read: in single-row mode, or as one result.
enum class Rows { OneByOne, AllAtOnce };

// ---- InsertLogData ----

// The COPY text of a batch, in pieces of the library's size. Made before the clock starts.
std::vector<std::string> CopyPieces(const std::vector<LogSample>& samples);
void InsertHistory(PGconn* link, const std::vector<std::string>& pieces);

// Only copies the batch into the staging table, and leaves the transaction open.
void CopyHistory(PGconn* link, const std::vector<std::string>& pieces);

// ---- Queries, into the library's containers ----

std::string HistoryQuery(std::int64_t start, std::int64_t end, const History& data);
void ReadHistory(PGconn* link, const std::string& query, Rows rows, History& data);
void ReadAlarms(PGconn* link, const std::string& query, Rows rows, std::vector<AlarmRecord>& records);
void ReadReports(PGconn* link, const std::string& query, Rows rows, Reports& data);
void ReadUserLogs(PGconn* link, const std::string& query, Rows rows, std::vector<UserLogRow>& records);

// Reads the rows in single-row mode and discards them, to measure the server and the transfer alone.
std::size_t CountRows(PGconn* link, const std::string& query);

// The same for rows in the server's binary format.
void ReadHistoryInBinary(PGconn* link, const std::string& query, History& data);
void ReadAlarmsInBinary(PGconn* link, const std::string& query, std::vector<AlarmRecord>& records);
void ReadReportsInBinary(PGconn* link, const std::string& query, Reports& data);

// Epoch seconds of a time in the server's text, with its offset from UTC.
std::int64_t EpochSeconds(std::string_view time);

// ---- Statements with parameters; libpq's arrays are made before the clock starts ----

struct Parameters {
  std::vector<Oid> types;
  std::vector<std::string> bytes;
  std::vector<const char*> values;
  std::vector<int> lengths;
  std::vector<int> formats;

  void Add(double value);
  void Add(std::int64_t value);
  void Add(std::int32_t value);
  void Add(std::int16_t value);
  void Add(const std::wstring& value);
  void AddNull();
  void Finish();  // call once, after the last Add
};

// Run a statement unprepared; or prepare it and run it by its name.
void RunWith(PGconn* link, const std::string& statement, const Parameters& parameters);
void Prepare(PGconn* link, const char* name, const std::string& statement, const Parameters& like);
void RunPrepared(PGconn* link, const char* name, const Parameters& parameters);

std::vector<Parameters> SystemLogParameters(const std::vector<SystemLogRecord>& records);
Parameters ReportParameters(const std::vector<ReportAnalogData>& rows);
std::string ReportStatement(const std::string& table, std::size_t rows);

}  // namespace baseline
