#include <bit>
#include <cfloat>

#include "../BenchServer.h"
#include "../Paired.h"
#include "Baseline.h"

namespace baseline {
namespace {

constexpr int kBinary = 1;
constexpr std::int64_t kServerEpoch = 946'684'800;  // 2000-01-01

template <class Unsigned>
Unsigned Bits(const char* bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < sizeof(Unsigned); ++i)
    value = value << 8 | static_cast<unsigned char>(bytes[i]);
  return static_cast<Unsigned>(value);
}

double Double(const PGresult* result, int column) {
  return std::bit_cast<double>(Bits<std::uint64_t>(PQgetvalue(result, 0, column)));
}

std::int32_t Int4(const PGresult* result, int column) {
  return static_cast<std::int32_t>(Bits<std::uint32_t>(PQgetvalue(result, 0, column)));
}

std::int16_t Int2(const PGresult* result, int column) {
  return static_cast<std::int16_t>(Bits<std::uint16_t>(PQgetvalue(result, 0, column)));
}

std::int64_t Seconds(const PGresult* result, int column) {
  return static_cast<std::int64_t>(Bits<std::uint64_t>(PQgetvalue(result, 0, column))) / 1'000'000 +
         kServerEpoch;
}

// A numeric with at most six decimals, not negative: digits to the base 10,000 after count, weight, sign and
// scale.
double EpochSeconds(const PGresult* result, int column) {
  const char* const bytes = PQgetvalue(result, 0, column);
  const int count = Bits<std::uint16_t>(bytes);
  const int weight = Bits<std::uint16_t>(bytes + 2);
  std::int64_t value = 0;  // to the eighth decimal
  for (int i = 0; i < weight + 3; ++i)
    value = value * 10000 + (i < count ? Bits<std::uint16_t>(bytes + 8 + 2 * i) : 0);
  return static_cast<double>(value / 100) / 1e6;
}

std::string_view Text(const PGresult* result, int column) {
  return {PQgetvalue(result, 0, column), static_cast<std::size_t>(PQgetlength(result, 0, column))};
}

std::wstring Wide(std::string_view text) { return {text.begin(), text.end()}; }

template <class Take>
void ForEachRow(PGconn* link, const std::string& query, Take take) {
  bench::Require(PQsendQueryParams(link, query.c_str(), 0, nullptr, nullptr, nullptr, nullptr, kBinary) == 1,
                 PQerrorMessage(link));
  PQsetSingleRowMode(link);
  while (const bench::Answer answer{PQgetResult(link)}) {
    const ExecStatusType status = PQresultStatus(answer.get());
    bench::Require(status == PGRES_SINGLE_TUPLE || status == PGRES_TUPLES_OK,
                   PQresultErrorMessage(answer.get()));
    if (status == PGRES_SINGLE_TUPLE) take(answer.get());
  }
}

// Calls `take` with each row and the entry of its tag. The rows of a tag come together.
template <class Map, class Take>
void ForEachRowOfTags(PGconn* link, const std::string& query, int column, Map& data, Take take) {
  std::string name;
  typename Map::value_type* tag = nullptr;
  ForEachRow(link, query, [&](const PGresult* row) {
    if (!tag || Text(row, column) != name) {
      name = Text(row, column);
      tag = &*data.try_emplace(Wide(name)).first;
    }
    take(row, *tag);
  });
}

}  // namespace

void ReadHistoryInBinary(PGconn* link, const std::string& query, History& data) {
  ForEachRowOfTags(link, query, 0, data, [](const PGresult* row, auto& tag) {
    tag.second.push_back({EpochSeconds(row, 1), PQgetisnull(row, 0, 2) ? DBL_MAX : Double(row, 2)});
  });
}

void ReadAlarmsInBinary(PGconn* link, const std::string& query, std::vector<AlarmRecord>& records) {
  const auto milliseconds = [](const PGresult* row, int column) {
    return static_cast<std::int64_t>(EpochSeconds(row, column) * 1000);
  };
  ForEachRow(link, query, [&](const PGresult* row) {
    records.push_back({milliseconds(row, 0), Wide(Text(row, 1)), Double(row, 2), Wide(Text(row, 3)),
                       Int2(row, 4), Int2(row, 5), Int2(row, 6), Int2(row, 7), milliseconds(row, 8),
                       PQgetisnull(row, 0, 9) ? 0 : milliseconds(row, 9)});
  });
}

void ReadReportsInBinary(PGconn* link, const std::string& query, Reports& data) {
  ForEachRowOfTags(link, query, 1, data, [](const PGresult* row, auto& tag) {
    ReportAnalogData& one = tag.second.emplace_back();
    one.time = Seconds(row, 0);
    one.tag_name = tag.first;
    one.count = Int4(row, 2);
    double* const numbers[] = {&one.sum, &one.avg, &one.diff, &one.first, &one.last, &one.min};
    for (int i = 0; i < 6; ++i) *numbers[i] = Double(row, 3 + i);
    one.min_time = Seconds(row, 9);
    one.max = Double(row, 10);
    one.max_time = Seconds(row, 11);
    one.diff_sum = Double(row, 12);
    one.diff_avg = Double(row, 13);
    one.diff_min = Double(row, 14);
    one.diff_min_time = Seconds(row, 15);
    one.diff_max = Double(row, 16);
    one.diff_max_time = Seconds(row, 17);
  });
}

}  // namespace baseline
