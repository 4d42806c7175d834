#include <cfloat>
#include <charconv>
#include <cstdlib>
#include <ctime>

#include "../BenchServer.h"
#include "../Paired.h"
#include "Baseline.h"

namespace baseline {
namespace {

double Number(const PGresult* result, int row, int column) {
  const char* const text = PQgetvalue(result, row, column);
  double value = 0;
  std::from_chars(text, text + PQgetlength(result, row, column), value);
  return value;
}

int Integer(const PGresult* result, int row, int column) {
  return std::atoi(PQgetvalue(result, row, column));
}

std::wstring Text(const PGresult* result, int row, int column) {
  const char* const text = PQgetvalue(result, row, column);
  return {text, text + PQgetlength(result, row, column)};
}

std::int64_t Milliseconds(const PGresult* result, int row, int column) {
  return static_cast<std::int64_t>(Number(result, row, column) * 1000);
}

std::int64_t Seconds(const PGresult* result, int row, int column) {
  return LocalSeconds(PQgetvalue(result, row, column));
}

// Calls `take` with each row's result and number.
template <class Take>
void ForEachRow(PGconn* link, const std::string& query, Rows rows, Take take) {
  bench::Require(PQsendQuery(link, query.c_str()) == 1, PQerrorMessage(link));
  if (rows == Rows::OneByOne) PQsetSingleRowMode(link);
  while (const bench::Answer answer{PQgetResult(link)}) {
    const ExecStatusType status = PQresultStatus(answer.get());
    bench::Require(status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK,
                   PQresultErrorMessage(answer.get()));
    const int count = PQntuples(answer.get());
    for (int row = 0; row < count; ++row) take(answer.get(), row);
  }
}

ReportAnalogData Report(const PGresult* result, int row) {
  ReportAnalogData one;
  one.time = Seconds(result, row, 0);
  one.tag_name = Text(result, row, 1);
  one.count = Integer(result, row, 2);
  one.sum = Number(result, row, 3);
  one.avg = Number(result, row, 4);
  one.diff = Number(result, row, 5);
  one.first = Number(result, row, 6);
  one.last = Number(result, row, 7);
  one.min = Number(result, row, 8);
  one.min_time = Seconds(result, row, 9);
  one.max = Number(result, row, 10);
  one.max_time = Seconds(result, row, 11);
  one.diff_sum = Number(result, row, 12);
  one.diff_avg = Number(result, row, 13);
  one.diff_min = Number(result, row, 14);
  one.diff_min_time = Seconds(result, row, 15);
  one.diff_max = Number(result, row, 16);
  one.diff_max_time = Seconds(result, row, 17);
  return one;
}

}  // namespace

std::size_t CountRows(PGconn* link, const std::string& query) {
  std::size_t rows = 0;
  ForEachRow(link, query, Rows::OneByOne, [&](const PGresult*, int) { ++rows; });
  return rows;
}

std::int64_t LocalSeconds(const char* time) {
  char* at = nullptr;
  std::tm fields{};
  fields.tm_year = static_cast<int>(std::strtol(time, &at, 10)) - 1900;
  fields.tm_mon = static_cast<int>(std::strtol(at + 1, &at, 10)) - 1;
  fields.tm_mday = static_cast<int>(std::strtol(at + 1, &at, 10));
  fields.tm_hour = static_cast<int>(std::strtol(at + 1, &at, 10));
  fields.tm_min = static_cast<int>(std::strtol(at + 1, &at, 10));
  fields.tm_sec = static_cast<int>(std::strtol(at + 1, &at, 10));
  fields.tm_isdst = -1;
  return std::mktime(&fields);
}

std::string HistoryQuery(std::int64_t start, std::int64_t end, const History& data) {
  std::string query = "select tag_name, extract(epoch from time), value from datalog where tag_name in (";
  for (const auto& [tag, points] : data) query.append("'").append(tag.begin(), tag.end()).append("',");
  query.back() = ')';
  return query + " and time between to_timestamp(" + std::to_string(start) + ") and to_timestamp(" +
         std::to_string(end) + ") order by tag_name, time";
}

void ReadHistory(PGconn* link, const std::string& query, Rows rows, History& data) {
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    data[Text(result, row, 0)].push_back(
        {Number(result, row, 1), PQgetisnull(result, row, 2) ? DBL_MAX : Number(result, row, 2)});
  });
}

void ReadAlarms(PGconn* link, const std::string& query, Rows rows, std::vector<AlarmRecord>& records) {
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    records.push_back({Milliseconds(result, row, 0), Text(result, row, 1), Number(result, row, 2),
                       Text(result, row, 3), static_cast<std::int16_t>(Integer(result, row, 4)),
                       static_cast<std::int16_t>(Integer(result, row, 5)),
                       static_cast<std::int16_t>(Integer(result, row, 6)),
                       static_cast<std::int16_t>(Integer(result, row, 7)), Milliseconds(result, row, 8),
                       PQgetisnull(result, row, 9) ? 0 : Milliseconds(result, row, 9)});
  });
}

void ReadReports(PGconn* link, const std::string& query, Rows rows, Reports& data) {
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    ReportAnalogData one = Report(result, row);
    data[one.tag_name].push_back(std::move(one));
  });
}

void ReadUserLogs(PGconn* link, const std::string& query, Rows rows, std::vector<UserLogRow>& records) {
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    UserLogRow& record = records.emplace_back();
    record.time = Seconds(result, row, 0);
    for (int column = 1; column < PQnfields(result); ++column) {
      record.values.push_back(Text(result, row, column));
    }
  });
}

}  // namespace baseline
