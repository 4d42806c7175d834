// Measures the memory that an operation needs beyond its caller's data, one figure per process:
//   memory_use insert|read COUNT

#include <iostream>
#include <string_view>

#include "BenchServer.h"
#include "Memory.h"
#include "Paired.h"
#include "Plant.h"

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::int64_t kStart = bench::kPlantStartMs / 1000;

void Report(const std::string& what, std::size_t count, double mebibytes) {
  std::cout << what << ", " << count << ": " << mebibytes << " MiB\n";
}

void MeasureInsert(Dbms& dbms, std::size_t count) {
  const auto samples = bench::PlantSamples(count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  const double before = bench::ResetPeakMemory();
  bench::Require(dbms.InsertLogData(samples), "InsertLogData");
  Report("peak memory of InsertLogData above the samples", count, bench::PeakMemory() - before);
}

double Mebibytes(const std::unordered_map<std::wstring, std::vector<LogPoint>>& data) {
  std::size_t bytes = 0;
  for (const auto& [tag, points] : data) bytes += points.capacity() * sizeof(LogPoint);
  return static_cast<double>(bytes) / 1024 / 1024;
}

void MeasureRead(bench::BenchServer& server, Dbms& dbms, std::size_t count) {
  server.Run(
      "insert into datalog select to_timestamp(" + std::to_string(kStart) +
      " + i / 1000), 'PLANT1.PUMP' || lpad((i % 1000)::text, 4, '0') || '.FLOW', random() from generate_series(0," +
      std::to_string(count - 1) + ") as i");
  std::unordered_map<std::wstring, std::vector<LogPoint>> data;
  for (std::size_t tag = 0; tag < kTags; ++tag) data[bench::TagName(tag)];
  const double before = bench::ResetPeakMemory();
  bench::Require(dbms.GetLogData(kStart, kStart + static_cast<std::int64_t>(count), data), "GetLogData");
  const double peak = bench::PeakMemory() - before;
  Report("the filled map", count, Mebibytes(data));
  Report("peak memory of GetLogData above the filled map", count, peak - Mebibytes(data));
}

}  // namespace

int main(int argc, char** argv) {
  bench::Require(argc == 3, "memory_use insert|read COUNT");
  const std::size_t count = std::stoul(argv[2]);
  bench::BenchServer server("bench_memory");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  if (std::string_view(argv[1]) == "insert") {
    MeasureInsert(*dbms, count);
  } else {
    MeasureRead(server, *dbms, count);
  }
}
