#pragma once

#include <libpq-fe.h>

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"
#include "DbmsAPI/RecordTypes.h"
#include "DbmsAPI/ReportTypes.h"

// The work of some operations by hand: what one writes with libpq who needs nothing but this. The statements
// are those of the library.

namespace hand {

using History = std::unordered_map<std::wstring, std::vector<LogPoint>>;
using Reports = std::unordered_map<std::wstring, std::vector<ReportAnalogData>>;

// How the rows of a query are taken: each as it comes, or all of them at the end.
enum class Rows { OneByOne, AllAtOnce };

// ---- InsertLogData ----

// The text of a batch, cut as the library cuts it: made before the clock runs.
std::vector<std::string> CopyPieces(const std::vector<LogSample>& samples);
void InsertHistory(PGconn* link, const std::vector<std::string>& pieces);

// Its first half: leaves the batch in the staging table, and the transaction open.
void CopyHistory(PGconn* link, const std::vector<std::string>& pieces);

// ---- Queries, into the same containers ----

std::string HistoryQuery(std::int64_t start, std::int64_t end, const History& data);
void ReadHistory(PGconn* link, const std::string& query, Rows rows, History& data);
void ReadAlarms(PGconn* link, const std::string& query, Rows rows, std::vector<AlarmRecord>& records);
void ReadReports(PGconn* link, const std::string& query, Rows rows, Reports& data);
void ReadUserLogs(PGconn* link, const std::string& query, Rows rows, std::vector<UserLogRow>& records);

// Takes the rows one by one and does nothing with them: what server and wire need.
std::size_t CountRows(PGconn* link, const std::string& query);

// Epoch seconds of the calendar fields that a time begins with, as local time.
std::int64_t LocalSeconds(const char* time);

// ---- Statements with parameters, made into libpq's arrays before the clock runs ----

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
  void Finish();  // once after the last one
};

// Runs a statement, having it parsed; or one that is prepared already.
void RunWith(PGconn* link, const std::string& statement, const Parameters& parameters);
void Prepare(PGconn* link, const char* name, const std::string& statement, const Parameters& like);
void RunPrepared(PGconn* link, const char* name, const Parameters& parameters);

std::vector<Parameters> SystemLogParameters(const std::vector<SystemLogRecord>& records);
Parameters ReportParameters(const std::vector<ReportAnalogData>& rows);
std::string ReportStatement(const std::string& table, std::size_t rows);

}  // namespace hand
