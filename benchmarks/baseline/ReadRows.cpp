#include <cfloat>
#include <charconv>
#include <chrono>
#include <string_view>

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
  const char* const text = PQgetvalue(result, row, column);
  int value = 0;
  std::from_chars(text, text + PQgetlength(result, row, column), value);
  return value;
}

std::wstring Text(const PGresult* result, int row, int column) {
  const char* const text = PQgetvalue(result, row, column);
  return {text, text + PQgetlength(result, row, column)};
}

std::int64_t Milliseconds(const PGresult* result, int row, int column) {
  return static_cast<std::int64_t>(Number(result, row, column) * 1000);
}

std::int64_t Seconds(const PGresult* result, int row, int column) {
  return EpochSeconds(
      {PQgetvalue(result, row, column), static_cast<std::size_t>(PQgetlength(result, row, column))});
}

int TwoDigits(const char* digits) { return (digits[0] - '0') * 10 + (digits[1] - '0'); }

// Days since 1970.
std::int64_t DayNumber(int year, int month, int day) {
  using namespace std::chrono;
  return sys_days(std::chrono::year(year) / month / day).time_since_epoch().count();
}

// The rows of a tag come together, so that the map is searched once for each tag.
template <class Map>
class TagCursor {
 public:
  explicit TagCursor(Map& data) : data_(data) {}

  typename Map::value_type& At(const PGresult* result, int row, int column) {
    const std::string_view name(PQgetvalue(result, row, column),
                                static_cast<std::size_t>(PQgetlength(result, row, column)));
    if (!tag_ || name != name_) {
      name_ = name;
      tag_ = &*data_.try_emplace(std::wstring(name.begin(), name.end())).first;
    }
    return *tag_;
  }

 private:
  Map& data_;
  std::string name_;
  typename Map::value_type* tag_ = nullptr;
};

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

void ReadReport(const PGresult* result, int row, ReportAnalogData& one) {
  one.time = Seconds(result, row, 0);
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
}

}  // namespace

std::size_t CountRows(PGconn* link, const std::string& query) {
  std::size_t rows = 0;
  ForEachRow(link, query, Rows::OneByOne, [&](const PGresult*, int) { ++rows; });
  return rows;
}

// "2023-11-14 22:13:20.5+01" of the years 1000 to 9999.
std::int64_t EpochSeconds(std::string_view time) {
  const char* const at = time.data();
  const std::int64_t day =
      DayNumber(TwoDigits(at) * 100 + TwoDigits(at + 2), TwoDigits(at + 5), TwoDigits(at + 8));
  const std::int64_t local =
      day * 86400 + TwoDigits(at + 11) * 3600 + TwoDigits(at + 14) * 60 + TwoDigits(at + 17);
  const std::size_t zone = time.find_first_of("+-", 19);
  int offset = TwoDigits(at + zone + 1) * 3600;
  if (time.size() > zone + 3) offset += TwoDigits(at + zone + 4) * 60;
  return at[zone] == '-' ? local + offset : local - offset;
}

std::string HistoryQuery(std::int64_t start, std::int64_t end, const History& data) {
  std::string query = "select tag_name, extract(epoch from time), value from datalog where tag_name in (";
  for (const auto& [tag, points] : data) query.append("'").append(tag.begin(), tag.end()).append("',");
  query.back() = ')';
  return query + " and time between to_timestamp(" + std::to_string(start) + ") and to_timestamp(" +
         std::to_string(end) + ") order by tag_name, time";
}

void ReadHistory(PGconn* link, const std::string& query, Rows rows, History& data) {
  TagCursor tags(data);
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    tags.At(result, row, 0)
        .second.push_back(
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
  TagCursor tags(data);
  ForEachRow(link, query, rows, [&](const PGresult* result, int row) {
    auto& [name, of] = tags.At(result, row, 1);
    ReportAnalogData& one = of.emplace_back();
    one.tag_name = name;
    ReadReport(result, row, one);
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
