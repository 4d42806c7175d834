// Measures the recorder: the replay of an hour without a server, storing compared with InsertLogData alone,
// the time of Record, and recording on eight threads compared with one:
//   recorder [replay|store|record|threads]
// The spool is in the working directory, so its disk is measured.

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <filesystem>
#include <string>
#include <thread>

#include "BenchServer.h"
#include "DbmsAPI/Diagnostics.h"
#include "Memory.h"
#include "Paired.h"
#include "Plant.h"
#include "historian/Recorder.h"

namespace {

using Clock = std::chrono::steady_clock;
using historian::Durability;
using historian::Recorder;

constexpr std::size_t kTags = 1000;
constexpr std::chrono::hours kLongEnough{1};
constexpr std::uintmax_t kSmallSpool = 8 << 20;

double SecondsSince(Clock::time_point start) {
  return std::chrono::duration<double>(Clock::now() - start).count();
}

const char* Name(Durability durability) { return durability == Durability::Power ? "power" : "process"; }

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
  bench::Race({"Recorder, " + std::string(Name(durability)), size, count},
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

void TimeRecord(const std::string& when, const std::shared_ptr<Dbms>& dbms, Durability durability) {
  Recorder recorder(dbms, NewSpool("bench_recorder.spool", durability));
  const auto batches = Batches(1000, 100);
  std::vector<double> milliseconds;
  for (std::size_t i = 0; i < 2000; ++i) {
    const auto start = Clock::now();
    bench::Require(recorder.Record(batches[i % batches.size()]), "Record");
    milliseconds.push_back(SecondsSince(start) * 1000);
  }
  std::sort(milliseconds.begin(), milliseconds.end());
  std::printf("Record of 1,000 samples, %s, %s: median %.3f ms, p99 %.3f ms, longest %.3f ms\n",
              Name(durability), when.c_str(), milliseconds[1000], milliseconds[1980], milliseconds.back());
}

double AcceptedPerSecond(int threads, const std::vector<LogSample>& samples, Durability durability) {
  Recorder recorder(NoServer(), NewSpool("bench_recorder.spool", durability));
  std::atomic<bool> enough = false;
  std::atomic<std::size_t> calls = 0;
  const auto start = Clock::now();
  {
    std::vector<std::jthread> recording;
    for (int t = 0; t < threads; ++t) {
      recording.emplace_back([&] {
        for (; !enough; ++calls) bench::Require(recorder.Record(samples), "Record");
      });
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(700));
    enough = true;
  }
  return static_cast<double>(calls * samples.size()) / SecondsSince(start);
}

// One thread and eight take turns.
void ShareAmongThreads(std::size_t size, Durability durability) {
  const auto samples = Batches(size, 1).front();
  std::vector<double> ones, eights, ratios;
  for (int round = 0; round < 5; ++round) {
    ones.push_back(AcceptedPerSecond(1, samples, durability));
    eights.push_back(AcceptedPerSecond(8, samples, durability));
    ratios.push_back(eights.back() / ones.back());
  }
  std::printf("Record of %zu, %s: one thread %.0f samples a second, eight threads %.0f, ratio %.2f\n", size,
              Name(durability), bench::Median(ones), bench::Median(eights), bench::Median(ratios));
}

// The samples of 1,000 tags in one second.
std::vector<LogSample> Cycle(std::int64_t second) {
  std::vector<LogSample> samples;
  for (std::size_t tag = 0; tag < kTags; ++tag) {
    samples.push_back({bench::kPlantStartMs + second * 1000, bench::TagName(tag),
                       static_cast<double>(second % 97) + static_cast<double>(tag) / 7});
  }
  return samples;
}

// Records a cycle; returns the seconds until it is in the table.
double SecondsUntilStored(Recorder& recorder, PGconn* link, std::int64_t second) {
  const auto samples = Cycle(second);
  const auto recorded = Clock::now();
  bench::Require(recorder.Record(samples), "Record");
  const std::string query = "select 1 from datalog where time = to_timestamp(" +
                            std::to_string(samples.front().timeMs / 1000) + ") limit 1";
  while (PQntuples(bench::Run(link, query).get()) == 0) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  return SecondsSince(recorded);
}

// An hour of 1,000 tags waits in the spool, and one more cycle arrives every second.
void ReplayAnHour(bench::BenchServer& server, std::int64_t seconds) {
  server.Settle("datalog");
  bench::ResetPeakMemory();
  const auto options = NewSpool("bench_recorder.spool");
  {
    Recorder recorder(NoServer(), options);
    for (std::int64_t second = 0; second < seconds; ++second) {
      bench::Require(recorder.Record(Cycle(second)), "Record");
    }
  }
  const auto full = std::filesystem::file_size(options.spool);
  const bench::Link link = server.Connect();
  std::vector<double> delays;
  const auto start = Clock::now();
  Recorder recorder(server.Library(), options);
  const std::int64_t waited = recorder.Report().waiting;
  std::int64_t fresh = 0;
  while (recorder.Report().waiting > 0) {
    const auto due = Clock::now() + std::chrono::seconds(1);
    delays.push_back(SecondsUntilStored(recorder, link.get(), seconds + 1000 + fresh++));
    while (Clock::now() < due && recorder.Report().waiting > 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
  }
  const double took = SecondsSince(start);
  const historian::RecorderReport report = recorder.Report();
  bench::Require(report.stored == report.accepted, "storing everything");
  while (std::filesystem::file_size(options.spool) > kSmallSpool) {
    std::this_thread::sleep_for(std::chrono::milliseconds(5));
  }
  const double shrunk = SecondsSince(start) - took;
  std::sort(delays.begin(), delays.end());
  std::printf(
      "replay: %lld samples waited (%.0f MB), %lld came meanwhile, all stored after %.1f s: %.0f a second\n"
      "  a new cycle is in the table after %.2f s (median), %.2f s (longest)\n"
      "  memory of the program: %.0f MiB at the most; the spool is small again %.1f s later\n",
      static_cast<long long>(waited), static_cast<double>(full) / 1e6,
      static_cast<long long>(fresh * static_cast<std::int64_t>(kTags)), took,
      static_cast<double>(report.stored) / took, delays[delays.size() / 2], delays.back(),
      bench::PeakMemory(), shrunk);
}

}  // namespace

int main(int argc, char** argv) {
  const std::string only = argc > 1 ? argv[1] : "";
  const auto wanted = [&](const char* part) { return only.empty() || only == part; };
  bench::BenchServer server("bench_recorder");
  SetDbmsDebugSink([](const wchar_t*) {});  // the missing server is intended
  const auto dbms = server.Library();
  bench::Require(dbms->CreateSystemLogTable(0) && dbms->CreateLogTable(0), "creating the tables");
  // Runs first, because the others leave memory with the allocator.
  if (wanted("replay")) ReplayAnHour(server, 3600);
  if (wanted("store")) {
    StoreBesideInsertLogData(server, 1000, 100, Durability::Process);
    StoreBesideInsertLogData(server, 10000, 10, Durability::Process);
    StoreBesideInsertLogData(server, 10000, 10, Durability::Power);
  }
  if (wanted("record")) {
    for (const Durability durability : {Durability::Process, Durability::Power}) {
      TimeRecord("without a server", NoServer(), durability);
      server.Settle("datalog");
      TimeRecord("storing meanwhile", server.Library(), durability);
    }
  }
  if (wanted("threads")) {
    ShareAmongThreads(1000, Durability::Process);
    ShareAmongThreads(100, Durability::Process);
    ShareAmongThreads(1000, Durability::Power);
    ShareAmongThreads(100, Durability::Power);
  }
  NewSpool("bench_recorder.spool");
}
