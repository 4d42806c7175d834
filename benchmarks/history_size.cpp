// Measures the size of a sample on disk and in the write-ahead log, for signals that change in different
// ways:
//   history_size [SAMPLES TAGS]     default 2000000 1000; all samples are of one day
//
// With --timescale also after compression, and the size of a row of the aggregates.

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iostream>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"

namespace {

constexpr std::ptrdiff_t kBatch = 10000;

std::string Value(PGconn* link, const std::string& query) {
  return PQgetvalue(bench::Run(link, query).get(), 0, 0);
}

double Number(PGconn* link, const std::string& query) { return std::stod(Value(link, query)); }

// Bytes of the write-ahead log so far.
double LogBytes(PGconn* link) { return Number(link, "select pg_current_wal_lsn() - '0/0'"); }

void Print(const std::string& what, double bytes, double count, const char* item) {
  std::cout << "  " << std::left << std::setw(20) << what << std::right << std::fixed << std::setprecision(2)
            << std::setw(8) << bytes / count << " bytes a " << item << '\n';
}

// A tag that keeps its value, and one that moves by a tenth once in ten samples. The third kind of signal is
// PlantSamples: ten digits that have nothing to do with the sample before.
void KeepValues(std::vector<LogSample>& samples, std::size_t tags) {
  for (std::size_t i = tags; i < samples.size(); ++i) samples[i].value = samples[i - tags].value;
}

void ChangeSlowly(std::vector<LogSample>& samples, std::size_t tags) {
  for (std::size_t i = 0; i < samples.size(); ++i) {
    const double previous = i < tags ? 50 : samples[i - tags].value;
    const int chance = static_cast<int>(samples[i].value * 1000) % 20;  // evenly distributed
    const double step = chance == 0 ? 0.1 : chance == 1 ? -0.1 : 0;
    samples[i].value = std::round((previous + step) * 10) / 10;
  }
}

void MeasureAggregate(PGconn* link, const std::string& view) {
  bench::Run(link, "call refresh_continuous_aggregate('" + view + "', null, null)");
  Print(view, Number(link, "select hypertable_size('" + view + "')"),
        Number(link, "select count(*) from " + view), "row");
}

void MeasureCompressed(PGconn* link, double count) {
  MeasureAggregate(link, "datalog_1m");
  MeasureAggregate(link, "datalog_1h");
  const double before = LogBytes(link);
  bench::Run(link, "select compress_chunk(chunk) from show_chunks('datalog') chunk");
  Print("log of compressing", LogBytes(link) - before, count, "sample");
  Print("compressed", Number(link, "select hypertable_size('datalog')"), count, "sample");
}

void Measure(const char* signal, const std::vector<LogSample>& samples) {
  bench::BenchServer server("bench_size");
  const auto dbms = server.Library();
  const bench::Link link = server.Connect();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  const bool timescale =
      Value(link.get(), "select exists (select from pg_extension where extname = 'timescaledb')") == "t";
  const auto count = static_cast<double>(samples.size());

  std::cout << signal << '\n';
  server.Run("checkpoint");
  const double before = LogBytes(link.get());
  for (auto at = samples.begin(); at != samples.end();) {
    const auto end = at + std::min(kBatch, samples.end() - at);
    bench::Require(dbms->InsertLogData({at, end}), "InsertLogData");
    at = end;
  }
  Print("log of storing", LogBytes(link.get()) - before, count, "sample");
  const std::string size = timescale ? "hypertable_size" : "pg_total_relation_size";
  Print("stored", Number(link.get(), "select " + size + "('datalog')"), count, "sample");
  if (timescale) MeasureCompressed(link.get(), count);
}

}  // namespace

int main(int argc, char** argv) {
  bench::Require(argc == 1 || argc == 3, "history_size [SAMPLES TAGS]");
  const std::size_t count = argc > 1 ? std::stoul(argv[1]) : 2000000;
  const std::size_t tags = argc > 1 ? std::stoul(argv[2]) : 1000;
  auto samples = bench::PlantSamples(count, tags, bench::Values::TenDigits, bench::Order::ByCycle);
  Measure("ten digits at random", samples);
  ChangeSlowly(samples, tags);
  Measure("a tenth up or down, one sample in ten", samples);
  KeepValues(samples, tags);
  Measure("constant", samples);
}
