// InsertLogData compared with hand-written libpq code that sends the same statements with text made
// beforehand, and with other libraries, for several batch sizes:
//   insert_history [SIZE COUNT]...     batch size, and batches per turn

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "baseline/Baseline.h"
#include "peers/Peer.h"

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::size_t kMostByPeers = 100000;  // samples per turn; row by row more would take too long

struct Batches {
  std::vector<std::vector<LogSample>> samples;
  std::vector<std::vector<std::string>> pieces;
};

Batches MakeBatches(std::size_t size, std::size_t count) {
  const auto all = bench::PlantSamples(size * count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  Batches batches;
  for (std::size_t i = 0; i < count; ++i) {
    const auto first = all.begin() + static_cast<std::ptrdiff_t>(i * size);
    batches.samples.emplace_back(first, first + static_cast<std::ptrdiff_t>(size));
    batches.pieces.push_back(baseline::CopyPieces(batches.samples.back()));
  }
  return batches;
}

// Each turn starts with an empty table, so that every sample is new to it.
void RaceBatches(bench::BenchServer& server, std::size_t size, std::size_t count) {
  const auto dbms = server.Library();
  const bench::Link link = server.Connect();
  const Batches batches = MakeBatches(size, count);
  const auto settle = [&] { server.Settle("datalog"); };
  const auto overLibpq = [&] {
    for (const auto& batch : batches.pieces) baseline::InsertHistory(link.get(), batch);
  };
  const auto library = [&] {
    for (const auto& batch : batches.samples) bench::Require(dbms->InsertLogData(batch), "InsertLogData");
  };
  const auto copied = [&] {
    for (const auto& batch : batches.pieces) {
      baseline::CopyHistory(link.get(), batch);
      bench::Run(link.get(), "ROLLBACK");
    }
  };
  std::vector<bench::Contender> contenders = {{"baseline", settle, overLibpq},
                                              {"library", settle, library},
                                              {"copied to staging only", settle, copied}};
  const auto others = peers::AllPeers(server);
  for (const auto& one : others) {
    if (size * count > kMostByPeers) break;
    contenders.push_back({one->Name(), settle, [&batches, peer = one.get()] {
                            for (const auto& batch : batches.samples) peer->InsertHistory(batch);
                          }});
  }
  bench::Race({"InsertLogData", size, count}, contenders);
}

}  // namespace

int main(int argc, char** argv) {
  bench::BenchServer server("bench_insert_history");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  for (int i = 1; i + 1 < argc; i += 2) RaceBatches(server, std::stoul(argv[i]), std::stoul(argv[i + 1]));
  if (argc > 1) return 0;
  RaceBatches(server, 1000, 1000);
  RaceBatches(server, 1000, 10);
  RaceBatches(server, 10000, 1);
  RaceBatches(server, 100000, 1);
  RaceBatches(server, 1000000, 1);
}
