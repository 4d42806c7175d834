// Backfill against InsertLogData, on the same samples in the same batches: all of them new, every tenth
// stored already, and with two connections:
//   backfill [SAMPLES]

#include "historian/Backfill.h"

#include <algorithm>
#include <string>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::size_t kBatch = 100000;

using Samples = std::vector<LogSample>;

historian::SampleReader Read(const std::vector<Samples>& batches) {
  return [&batches](std::int64_t position, Samples& samples) -> std::optional<std::int64_t> {
    const auto number = static_cast<std::size_t>(position);
    if (number == batches.size()) return std::nullopt;
    samples = batches[number];
    return position + 1;
  };
}

std::vector<Samples> InBatches(const Samples& samples) {
  std::vector<Samples> batches;
  for (std::size_t begin = 0; begin < samples.size(); begin += kBatch) {
    const std::size_t end = std::min(begin + kBatch, samples.size());
    batches.emplace_back(samples.begin() + static_cast<std::ptrdiff_t>(begin),
                         samples.begin() + static_cast<std::ptrdiff_t>(end));
  }
  return batches;
}

// `stored` lies in the table before each turn.
void RaceOver(bench::BenchServer& server, const std::string& name, const std::vector<Samples>& batches,
              const Samples& stored) {
  const auto first = server.Library(), second = server.Library();
  std::size_t size = 0;
  for (const Samples& batch : batches) size += batch.size();
  const auto prepare = [&] {
    server.Run("drop table if exists historian_backfill");
    server.Settle("datalog");
    bench::Require(first->InsertLogData(stored), "InsertLogData");
    server.Run("checkpoint");
  };
  const auto insert = [&] {
    for (const Samples& batch : batches) bench::Require(first->InsertLogData(batch), "InsertLogData");
  };
  const auto load = [&](const std::vector<std::shared_ptr<Dbms>>& connections) {
    const auto report = historian::Backfill(connections, "bench", Read(batches));
    bench::Require(report.counts.stored == static_cast<std::int64_t>(size - stored.size()), "Backfill");
  };
  bench::Race({name, size, 1}, {{"InsertLogData", prepare, insert},
                                {"Backfill", prepare, [&] { load({first}); }},
                                {"Backfill, two connections", prepare, [&] {
                                   load({first, second});
                                 }}});
}

// Without the aggregates, whose refresh InsertLogData leaves to others.
void PrepareTables(bench::BenchServer& server) {
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  server.Run("drop materialized view if exists datalog_1h");
  server.Run("drop materialized view if exists datalog_1m");
}

}  // namespace

int main(int argc, char** argv) {
  bench::BenchServer server("bench_backfill");
  PrepareTables(server);
  const std::size_t count = argc > 1 ? std::stoul(argv[1]) : 1000000;
  const Samples all = bench::PlantSamples(count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  Samples tenth;
  for (std::size_t i = 0; i < all.size(); i += 10) tenth.push_back(all[i]);
  const auto batches = InBatches(all);
  RaceOver(server, "new samples", batches, {});
  RaceOver(server, "every tenth stored", batches, tenth);
}
