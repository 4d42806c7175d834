// GetLogData against loops written by hand into the same containers.

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "floor/History.h"

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::size_t kRows = 1000000;
constexpr std::int64_t kStart = bench::kPlantStartMs / 1000;
constexpr std::int64_t kEnd = kStart + static_cast<std::int64_t>(kRows);

hand::History Wanted() {
  hand::History data;
  for (std::size_t tag = 0; tag < kTags; ++tag) data[bench::TagName(tag)];
  return data;
}

std::size_t Points(const hand::History& data) {
  std::size_t points = 0;
  for (const auto& [tag, of] : data) points += of.size();
  return points;
}

}  // namespace

int main() {
  bench::BenchServer server("bench_read_history");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  const auto samples = bench::PlantSamples(kRows, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  bench::Require(dbms->InsertLogData(samples), "InsertLogData");
  server.Run("vacuum analyze datalog");

  const bench::Link link = server.Connect();
  hand::History data;
  const auto ask = [&] { data = Wanted(); };
  const auto check = [&] { bench::Require(Points(data) == kRows, "all rows were read"); };
  bench::Race("GetLogData", kRows,
              {{"by hand, row by row", ask,
                [&] {
                  hand::ReadHistoryByRow(link.get(), kStart, kEnd, data);
                  check();
                }},
               {"by hand, whole result", ask,
                [&] {
                  hand::ReadHistoryWhole(link.get(), kStart, kEnd, data);
                  check();
                }},
               {"library", ask, [&] {
                  bench::Require(dbms->GetLogData(kStart, kEnd, data), "GetLogData");
                  check();
                }}});
}
