#include <cfloat>
#include <charconv>
#include <cstring>

#include "../BenchServer.h"
#include "../Paired.h"
#include "History.h"

namespace hand {
namespace {

std::string Query(std::int64_t start, std::int64_t end, const History& data) {
  std::string query = "select tag_name, extract(epoch from time), value from datalog where tag_name in (";
  for (const auto& [tag, points] : data) query.append("'").append(tag.begin(), tag.end()).append("',");
  query.back() = ')';
  return query + " and time between to_timestamp(" + std::to_string(start) + ") and to_timestamp(" +
         std::to_string(end) + ") order by tag_name, time";
}

double Number(const PGresult* result, int row, int column) {
  const char* const text = PQgetvalue(result, row, column);
  double value = 0;
  std::from_chars(text, text + PQgetlength(result, row, column), value);
  return value;
}

void AddRows(const PGresult* result, History& data) {
  const int rows = PQntuples(result);
  for (int row = 0; row < rows; ++row) {
    const char* const tag = PQgetvalue(result, row, 0);
    data[std::wstring(tag, tag + PQgetlength(result, row, 0))].push_back(
        {Number(result, row, 1), PQgetisnull(result, row, 2) ? DBL_MAX : Number(result, row, 2)});
  }
}

}  // namespace

void ReadHistoryByRow(PGconn* link, std::int64_t start, std::int64_t end, History& data) {
  bench::Require(PQsendQuery(link, Query(start, end, data).c_str()) == 1, PQerrorMessage(link));
  PQsetSingleRowMode(link);
  while (const bench::Answer answer{PQgetResult(link)}) {
    const ExecStatusType status = PQresultStatus(answer.get());
    bench::Require(status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK,
                   PQresultErrorMessage(answer.get()));
    AddRows(answer.get(), data);
  }
}

void ReadHistoryWhole(PGconn* link, std::int64_t start, std::int64_t end, History& data) {
  const bench::Answer answer = bench::Run(link, Query(start, end, data));
  AddRows(answer.get(), data);
}

}  // namespace hand
