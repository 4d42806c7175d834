// Backfill against InsertLogData, on the same samples in the same batches: all of them new, every tenth
// stored already, and with two connections. Two simultaneous loads that share no table show how much a second
// connection can gain on this machine. `processors` shows the processor time of each process during a load,
// without InsertLogData; the server must run on this machine:
//   backfill [race|processors [SAMPLES]]

#include "historian/Backfill.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdio>
#include <functional>
#include <numeric>
#include <string>
#include <thread>

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

class Contest {
 public:
  explicit Contest(bench::BenchServer& server)
      : server_(server),
        first_(server.Library()),
        second_(server.Library()),
        apart_(server.Library("dbname=" + server.database() + " options='-c search_path=apart'")) {
    bench::Require(first_->CreateSystemLogTable(0) && first_->CreateLogTable(0), "creating the tables");
    // InsertLogData does not refresh the aggregates, so this does.
    server.Run("drop materialized view if exists datalog_1h; drop materialized view if exists datalog_1m");
    server.Run("create schema apart; create table apart.datalog (like datalog including all)");
  }

  // `stored` is in the table before each turn.
  void Race(const std::string& name, const std::vector<Samples>& batches, const Samples& stored) {
    const auto insert = [&] {
      for (const Samples& batch : batches) bench::Require(first_->InsertLogData(batch), "InsertLogData");
    };
    auto contenders = Loads(batches, stored);
    contenders.insert(contenders.begin(), {"InsertLogData", [&] { Prepare(stored); }, insert});
    bench::Race({name, batches.size() * kBatch, 1}, contenders);
  }

  void ShowProcessors(const std::string& name, const std::vector<Samples>& batches, const Samples& stored) {
    std::printf(
        "%s, %zu: seconds, and of them at work: this program, the sessions, the server's other processes\n",
        name.c_str(), batches.size() * kBatch);
    const auto contenders = Loads(batches, stored);
    std::vector<std::array<std::vector<double>, 5>> uses(contenders.size());
    for (int round = 0; round < bench::Rounds(); ++round) {
      for (std::size_t i = 0; i < contenders.size(); ++i) {
        contenders[i].prepare();
        const auto use = Measure(contenders[i].run);
        for (std::size_t k = 0; k < use.size(); ++k) uses[i][k].push_back(use[k]);
      }
    }
    for (std::size_t i = 0; i < contenders.size(); ++i) {
      std::printf("  %-30s", contenders[i].name.c_str());
      for (const auto& values : uses[i]) std::printf("%8.2f", bench::Median(values));
      std::printf("\n");
    }
  }

 private:
  std::vector<bench::Contender> Loads(const std::vector<Samples>& batches, const Samples& stored) {
    const auto prepare = [this, &stored] { Prepare(stored); };
    const std::size_t fresh = batches.size() * kBatch - stored.size();
    std::vector<bench::Contender> loads = {
        {"Backfill", prepare, [this, &batches, fresh] { Load({first_}, batches, fresh); }},
        {"Backfill, two connections", prepare, [this, &batches, fresh] {
           Load({first_, second_}, batches, fresh);
         }}};
    if (!stored.empty()) return loads;
    const auto middle = batches.begin() + static_cast<std::ptrdiff_t>(batches.size() / 2);
    const std::vector<Samples> half(batches.begin(), middle), rest(middle, batches.end());
    loads.push_back({"two of half, a table each", prepare, [this, half, rest] {
                       const std::jthread other([&] { Load({apart_}, rest, rest.size() * kBatch); });
                       Load({first_}, half, half.size() * kBatch);
                     }});
    return loads;
  }

  // Elapsed seconds, and the processor time of this program, of the two busiest sessions, and of all other
  // processes of the server.
  std::array<double, 5> Measure(const std::function<void()>& load) {
    const auto before = server_.ProcessorSeconds();
    const double own = bench::ProcessorSeconds();
    const auto start = std::chrono::steady_clock::now();
    load();
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    const double client = bench::ProcessorSeconds() - own;
    std::vector<double> server;
    for (const auto& [process, seconds] : server_.ProcessorSeconds()) {
      const auto former = before.find(process);
      server.push_back(former == before.end() ? seconds : seconds - former->second);
    }
    std::sort(server.rbegin(), server.rend());
    return {taken.count(), client, server[0], server[1],
            std::accumulate(server.begin() + 2, server.end(), 0.0)};
  }

  void Prepare(const Samples& stored) {
    server_.Run("drop table if exists historian_backfill, apart.historian_backfill; truncate apart.datalog");
    server_.Settle("datalog");
    bench::Require(first_->InsertLogData(stored), "InsertLogData");
    server_.Run("checkpoint");
  }

  // Loads batches with this many new samples.
  static void Load(const std::vector<std::shared_ptr<Dbms>>& connections, const std::vector<Samples>& batches,
                   std::size_t fresh) {
    const auto report = historian::Backfill(connections, "bench", Read(batches));
    bench::Require(report.counts.stored == static_cast<std::int64_t>(fresh), "Backfill");
  }

  bench::BenchServer& server_;
  std::shared_ptr<Dbms> first_, second_;
  std::shared_ptr<Dbms> apart_;  // works in another schema, with a separate tag history
};

}  // namespace

int main(int argc, char** argv) {
  const std::string mode = argc > 1 ? argv[1] : "race";
  bench::Require(mode == "race" || mode == "processors", "usage: backfill [race|processors [SAMPLES]]");
  bench::BenchServer server("bench_backfill");
  Contest contest(server);
  const std::size_t count = (argc > 2 ? std::stoul(argv[2]) : 1000000) / kBatch * kBatch;
  const Samples all = bench::PlantSamples(count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  Samples tenth;
  for (std::size_t i = 0; i < all.size(); i += 10) tenth.push_back(all[i]);
  const auto batches = InBatches(all);
  const auto show = mode == "race" ? &Contest::Race : &Contest::ShowProcessors;
  (contest.*show)("new samples", batches, {});
  (contest.*show)("every tenth stored", batches, tenth);
}
