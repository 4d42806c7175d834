// Measures how settings of the server affect the bulk insert. Databases with one setting each take turns.
//   tuning [settings] [checkpoints]

#include <algorithm>

#include "BenchServer.h"
#include "Paired.h"
#include "Plant.h"

namespace {

constexpr std::size_t kTags = 1000;
constexpr std::size_t kSustained = 3000000;  // samples; too many for the default max_wal_size
constexpr std::size_t kBatch = 100000;

// A database with one setting that is not the default.
class Plant {
 public:
  Plant(const std::string& number, const std::string& locale, const std::string& setting)
      : server_("bench_tuning_" + number, locale) {
    if (!setting.empty()) server_.Run("alter database " + server_.database() + " set " + setting);
    dbms_ = server_.Library();
    bench::Require(dbms_->CreateSystemLogTable(0) && dbms_->CreateLogTable(0), "creating the tables");
  }

  bench::BenchServer& server() { return server_; }
  void Settle() { server_.Settle("datalog"); }
  void Insert(const std::vector<std::vector<LogSample>>& batches) const {
    for (const auto& batch : batches) bench::Require(dbms_->InsertLogData(batch), "InsertLogData");
  }

 private:
  bench::BenchServer server_;
  std::shared_ptr<Dbms> dbms_;
};

std::vector<std::vector<LogSample>> Batches(std::size_t size, std::size_t count) {
  const auto all = bench::PlantSamples(size * count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  std::vector<std::vector<LogSample>> batches;
  for (auto at = all.begin(); at != all.end(); at += static_cast<std::ptrdiff_t>(size)) {
    batches.emplace_back(at, at + static_cast<std::ptrdiff_t>(size));
  }
  return batches;
}

void RaceSettings() {
  struct Choice {
    std::string name, locale, setting;
  };
  const std::vector<Choice> choices = {
      {"default settings", "", ""},
      {"work_mem 256 MB", "", "work_mem = '256MB'"},
      {"temp_buffers 256 MB", "", "temp_buffers = '256MB'"},
      {"synchronous_commit off", "", "synchronous_commit = off"},
      {"collation en-US of ICU", "locale_provider icu icu_locale 'en-US'", ""},
  };
  std::vector<std::unique_ptr<Plant>> plants;
  for (const Choice& choice : choices) {
    plants.push_back(std::make_unique<Plant>(std::to_string(plants.size()), choice.locale, choice.setting));
  }
  const std::pair<std::size_t, std::size_t> sizes[] = {{1000, 100}, {10000, 10}, {100000, 1}, {1000000, 1}};
  for (const auto& [size, count] : sizes) {
    const auto batches = Batches(size, count);
    std::vector<bench::Contender> contenders;
    for (std::size_t i = 0; i < choices.size(); ++i) {
      contenders.push_back({choices[i].name, [plant = plants[i].get()] { plant->Settle(); },
                            [&batches, plant = plants[i].get()] { plant->Insert(batches); }});
    }
    bench::Race({"settings, InsertLogData", size, count}, contenders);
  }
}

// max_wal_size is server-wide, so each turn sets it.
void RaceCheckpoints() {
  Plant plant("wal", "", "");
  const auto batches = Batches(kBatch, kSustained / kBatch);
  const auto with = [&](const std::string& size) {
    return [&plant, size] {
      plant.server().Run("alter system set max_wal_size = '" + size + "'");
      plant.server().Run("select pg_reload_conf()");
      plant.Settle();
    };
  };
  const auto insert = [&] { plant.Insert(batches); };
  bench::Race(
      {"checkpoints, InsertLogData", kBatch, batches.size()},
      {{"max_wal_size 1 GB, the default", with("1GB"), insert}, {"max_wal_size 8 GB", with("8GB"), insert}});
}

}  // namespace

int main(int argc, char** argv) {
  const std::vector<std::string> chosen(argv + 1, argv + argc);
  const auto isChosen = [&](const char* name) {
    return chosen.empty() || std::find(chosen.begin(), chosen.end(), name) != chosen.end();
  };
  if (isChosen("settings")) RaceSettings();
  if (isChosen("checkpoints")) RaceCheckpoints();
}
