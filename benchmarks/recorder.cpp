// The recorder: what it stores against InsertLogData alone, how long Record takes, how threads share it, and
// the replay of an hour without a server.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>
#include <thread>

#include "BenchServer.h"
#include "DbmsAPI/Diagnostics.h"
#include "Paired.h"
#include "Plant.h"
#include "historian/Recorder.h"

namespace {

using Clock = std::chrono::steady_clock;
using historian::Durability;
using historian::Recorder;

constexpr std::size_t kTags = 1000;
constexpr std::chrono::hours kLongEnough{1};

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

// Memory that the process occupies.
long ResidentKilobytes() {
  std::ifstream status("/proc/self/status");
  for (std::string line; std::getline(status, line);) {
    if (line.starts_with("VmRSS:")) return std::stol(line.substr(6));
  }
  return 0;
}

// An empty spool of a name; in the working directory, which is on the disk to be measured.
historian::RecorderOptions NewSpool(const std::string& name, Durability durability = Durability::Process) {
  for (const char* ending : {"", "-wal", "-shm", ".lock"}) std::filesystem::remove(name + ending);
  historian::RecorderOptions options;
  options.spool = name;
  options.durability = durability;
  return options;
}

std::shared_ptr<Dbms> NoServer() {
  return Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", 1, L"x", L"x", L"x");
}

std::vector<std::vector<LogSample>> Batches(std::size_t size, std::size_t count) {
  const auto all = bench::PlantSamples(size * count, kTags, bench::Values::TenDigits, bench::Order::ByCycle);
  std::vector<std::vector<LogSample>> batches;
  for (std::size_t i = 0; i < count; ++i) {
    const auto first = all.begin() + static_cast<std::ptrdiff_t>(i * size);
    batches.emplace_back(first, first + static_cast<std::ptrdiff_t>(size));
  }
  return batches;
}

void StoreBesideInsertLogData(bench::BenchServer& server, std::size_t size, std::size_t count,
                              Durability durability) {
  const auto dbms = server.Library();
  auto options = NewSpool("bench_recorder.spool", durability);
  options.batch = size;
  Recorder recorder(server.Library(), options);
  const auto batches = Batches(size, count);
  const auto settle = [&] { server.Settle("datalog"); };
  bench::Race({durability == Durability::Power ? "Recorder, power" : "Recorder, process", size, count},
              {{"InsertLogData", settle,
                [&] {
                  for (const auto& batch : batches)
                    bench::Require(dbms->InsertLogData(batch), "InsertLogData");
                }},
               {"recorder", settle, [&] {
                  for (const auto& batch : batches) bench::Require(recorder.Record(batch), "Record");
                  bench::Require(recorder.WaitUntilStored(kLongEnough), "storing");
                }}});
  bench::Require(recorder.Report().duplicates == 0, "counting no duplicate");
}

void TimeRecord(Durability durability) {
  Recorder recorder(NoServer(), NewSpool("bench_recorder.spool", durability));
  const auto batches = Batches(1000, 100);
  std::vector<double> milliseconds;
  for (int i = 0; i < 2000; ++i) {
    const auto start = Clock::now();
    bench::Require(recorder.Record(batches[static_cast<std::size_t>(i) % batches.size()]), "Record");
    milliseconds.push_back(SecondsSince(start) * 1000);
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  std::printf("Record of 1,000 samples, %s: median %.3f ms, p99 %.3f ms, longest %.3f ms\n",
              durability == Durability::Power ? "power" : "process", milliseconds[1000], milliseconds[1980],
              milliseconds.back());
}

void ShareAmongThreads(Durability durability, std::size_t samples) {
  for (const int count : {1, 2, 4, 8}) {
    Recorder recorder(NoServer(), NewSpool("bench_recorder.spool", durability));
    const auto batch = Batches(samples, 1).front();
    std::atomic<bool> enough = false;
    std::atomic<std::int64_t> calls = 0;
    std::vector<std::thread> threads;
    const auto start = Clock::now();
    for (int t = 0; t < count; ++t) {
      threads.emplace_back([&] {
        while (!enough) {
          bench::Require(recorder.Record(batch), "Record");
          ++calls;
        }
      });
    }
    std::this_thread::sleep_for(std::chrono::seconds(2));
    enough = true;
    for (std::thread& thread : threads) thread.join();
    std::printf("%d threads, Record of %zu, %s: %.0f samples a second\n", count, samples,
                durability == Durability::Power ? "power" : "process",
                static_cast<double>(calls * static_cast<std::int64_t>(samples)) / SecondsSince(start));
  }
}

// An hour of 1,000 tags a second waits in the spool; new samples keep coming. How long does a new one take?
void ReplayAnHour(bench::BenchServer& server, std::size_t seconds) {
  server.Settle("datalog");
  const auto options = NewSpool("bench_recorder.spool");
  const auto hour = Batches(kTags, seconds);
  {
    Recorder recorder(NoServer(), options);
    for (const auto& second : hour) bench::Require(recorder.Record(second), "Record");
  }
  const auto bytes = std::filesystem::file_size(options.spool);
  const long before = ResidentKilobytes();
  const bench::Link link = server.Connect();
  std::vector<double> ages;
  long most = 0;
  const auto start = Clock::now();
  Recorder recorder(server.Library(), options);
  const std::int64_t accepted = recorder.Report().accepted;
  std::int64_t fresh = 0;
  while (recorder.Report().waiting > static_cast<std::int64_t>(2 * kTags)) {
    std::vector<LogSample> now;
    const std::int64_t time = bench::kPlantStartMs + 100000000 + ++fresh * 1000;
    for (std::size_t tag = 0; tag < kTags; ++tag) now.push_back({time, bench::TagName(tag), 1});
    const auto recorded = Clock::now();
    bench::Require(recorder.Record(now), "Record");
    const std::string query =
        "select 1 from datalog where time = to_timestamp(" + std::to_string(time / 1000) + ") limit 1";
    while (PQntuples(bench::Run(link.get(), query).get()) == 0)
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    ages.push_back(SecondsSince(recorded));
    most = std::max(most, ResidentKilobytes());
    std::this_thread::sleep_until(recorded + std::chrono::seconds(1));
  }
  bench::Require(recorder.WaitUntilStored(kLongEnough), "storing");
  const double took = SecondsSince(start);
  std::sort(ages.begin(), ages.end());
  const auto size = std::filesystem::file_size(options.spool);
  std::printf(
      "replay of %lld samples (spool of %.0f MB) with %lld new ones: %.1f s, %.0f samples a second;"
      " a new sample is in the table after %.2f s (median), %.2f s (longest);"
      " memory %ld KB before, %ld KB at the most\n",
      static_cast<long long>(accepted), static_cast<double>(bytes) / 1e6,
      static_cast<long long>(fresh * static_cast<std::int64_t>(kTags)), took,
      static_cast<double>(recorder.Report().stored) / took, ages[ages.size() / 2], ages.back(), before, most);
  std::printf("the spool is %.1f MB at the end\n", static_cast<double>(size) / 1e6);
}

}  // namespace

int main(int argc, char** argv) {
  SetDbmsDebugSink([](const wchar_t*) {});
  const std::string only = argc > 1 ? argv[1] : "";
  if (only.empty() || only == "record") {
    TimeRecord(Durability::Process);
    TimeRecord(Durability::Power);
    ShareAmongThreads(Durability::Process, 1000);
    ShareAmongThreads(Durability::Power, 100);
  }
  if (only == "record") return 0;
  bench::BenchServer server("bench_recorder");
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  if (only.empty() || only == "store") {
    StoreBesideInsertLogData(server, 1000, 100, Durability::Process);
    StoreBesideInsertLogData(server, 10000, 10, Durability::Process);
    StoreBesideInsertLogData(server, 10000, 10, Durability::Power);
  }
  if (only.empty() || only == "replay") ReplayAnHour(server, 3600);
  NewSpool("bench_recorder.spool");
}
