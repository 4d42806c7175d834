// Eight objects on eight threads insert at once, compared with eight connections of hand-written libpq code.
// With more threads than cores the times vary; to show how much, the baseline is also compared with itself.

#include <thread>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"
#include "baseline/Baseline.h"

namespace {

constexpr std::size_t kThreads = 8;
constexpr std::size_t kBatches = 20;
constexpr std::size_t kBatchSize = 5000;
constexpr std::size_t kTags = 500;  // of each thread

struct Writer {
  std::shared_ptr<Dbms> dbms;
  bench::Link link;
  std::vector<std::vector<LogSample>> batches;
  std::vector<std::vector<std::string>> pieces;

  void UseLibrary() const {
    for (const auto& batch : batches) bench::Require(dbms->InsertLogData(batch), "InsertLogData");
  }
  void UseBaseline() const {
    for (const auto& batch : pieces) baseline::InsertHistory(link.get(), batch);
  }
};

Writer MakeWriter(bench::BenchServer& server, std::size_t number) {
  Writer writer{server.Library(), server.Connect(), {}, {}};
  auto samples =
      bench::PlantSamples(kBatchSize * kBatches, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  for (LogSample& sample : samples) sample.tagName += L"." + std::to_wstring(number);
  for (auto at = samples.begin(); at != samples.end(); at += kBatchSize) {
    writer.batches.emplace_back(at, at + kBatchSize);
    writer.pieces.push_back(baseline::CopyPieces(writer.batches.back()));
  }
  return writer;
}

template <class Work>
void OnEightThreads(const std::vector<Writer>& writers, Work work) {
  std::vector<std::jthread> threads;
  for (const Writer& writer : writers) threads.emplace_back([&] { (writer.*work)(); });
}

}  // namespace

int main() {
  bench::BenchServer server("bench_eight_threads");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  std::vector<Writer> writers;
  for (std::size_t i = 0; i < kThreads; ++i) writers.push_back(MakeWriter(server, i));
  const auto settle = [&] { server.Settle("datalog"); };
  bench::Race({"InsertLogData on 8 threads", kBatchSize, kThreads * kBatches},
              {{"baseline", settle, [&] { OnEightThreads(writers, &Writer::UseBaseline); }},
               {"baseline, once more", settle, [&] { OnEightThreads(writers, &Writer::UseBaseline); }},
               {"library", settle, [&] { OnEightThreads(writers, &Writer::UseLibrary); }}});
}
