// Backfill against InsertLogData, on the same samples in the same batches: all of them new, every tenth
// stored already, and with two connections. Two loads at once that share no table show what the machine has
// left for a second connection:
//   backfill [SAMPLES]

#include "historian/Backfill.h"

#include <algorithm>
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
    // InsertLogData leaves the refreshing of aggregates to others.
    server.Run("drop materialized view if exists datalog_1h; drop materialized view if exists datalog_1m");
    server.Run("create schema apart; create table apart.datalog (like datalog including all)");
  }

  // `stored` is in the table before each turn.
  void Race(const std::string& name, const std::vector<Samples>& batches, const Samples& stored) {
    const auto middle = batches.begin() + static_cast<std::ptrdiff_t>(batches.size() / 2);
    const std::vector<Samples> half(batches.begin(), middle), rest(middle, batches.end());
    const auto prepare = [&] { Prepare(stored); };
    const std::size_t fresh = batches.size() * kBatch - stored.size();
    const auto insert = [&] {
      for (const Samples& batch : batches) bench::Require(first_->InsertLogData(batch), "InsertLogData");
    };
    std::vector<bench::Contender> contenders = {
        {"InsertLogData", prepare, insert},
        {"Backfill", prepare, [&] { Load({first_}, batches, fresh); }},
        {"Backfill, two connections", prepare, [&] {
           Load({first_, second_}, batches, fresh);
         }}};
    if (stored.empty()) {
      contenders.push_back({"two of half, a table each", prepare, [&] {
                              const std::jthread other([&] { Load({apart_}, rest, rest.size() * kBatch); });
                              Load({first_}, half, half.size() * kBatch);
                            }});
    }
    bench::Race({name, batches.size() * kBatch, 1}, contenders);
  }

 private:
  void Prepare(const Samples& stored) {
    server_.Run("drop table if exists historian_backfill, apart.historian_backfill; truncate apart.datalog");
    server_.Settle("datalog");
    bench::Require(first_->InsertLogData(stored), "InsertLogData");
    server_.Run("checkpoint");
  }

  // Loads batches that hold so many new samples.
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
  bench::BenchServer server("bench_backfill");
  Contest contest(server);
  const std::size_t count = (argc > 1 ? std::stoul(argv[1]) : 1000000) / kBatch * kBatch;
  const Samples all = bench::PlantSamples(count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  Samples tenth;
  for (std::size_t i = 0; i < all.size(); i += 10) tenth.push_back(all[i]);
  const auto batches = InBatches(all);
  contest.Race("new samples", batches, {});
  contest.Race("every tenth stored", batches, tenth);
}
