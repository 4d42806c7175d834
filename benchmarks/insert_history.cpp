// InsertLogData against the same statements sent by hand with text made beforehand.

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "floor/History.h"

namespace {

constexpr std::size_t kTags = 1000;

// So many batches of one size a turn; each turn starts with an empty table, so that every batch is new to it.
void RaceBatches(bench::BenchServer& server, std::size_t batchSize, std::size_t batches) {
  const auto dbms = server.Library();
  const bench::Link link = server.Connect();
  const auto all =
      bench::PlantSamples(batchSize * batches, kTags, bench::Values::TenDigits, bench::Order::ByCycle);

  std::vector<std::vector<LogSample>> samples;
  std::vector<std::vector<std::string>> pieces;
  for (std::size_t i = 0; i < batches; ++i) {
    const auto first = all.begin() + static_cast<std::ptrdiff_t>(i * batchSize);
    samples.emplace_back(first, first + static_cast<std::ptrdiff_t>(batchSize));
    pieces.push_back(hand::CopyPieces(samples.back()));
  }

  const auto settle = [&] { server.Settle("datalog"); };
  bench::Race(std::to_string(batches) + " x InsertLogData", batchSize,
              {{"by hand", settle,
                [&] {
                  for (const auto& batch : pieces) hand::InsertHistory(link.get(), batch);
                }},
               {"library", settle, [&] {
                  for (const auto& batch : samples)
                    bench::Require(dbms->InsertLogData(batch), "InsertLogData");
                }}});
}

}  // namespace

int main() {
  bench::BenchServer server("bench_insert_history");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  RaceBatches(server, 1000, 1000);
  RaceBatches(server, 100000, 1);
  RaceBatches(server, 1000000, 1);
}
