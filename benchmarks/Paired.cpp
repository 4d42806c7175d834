#include "Paired.h"

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <iostream>

namespace bench {
namespace {

constexpr int kRounds = 9;

struct Turns {
  std::vector<double> seconds, ratios, cpuSeconds;
};

// Runs one turn; returns its seconds.
double Take(const Contender& contender, Turns& turns) {
  if (contender.prepare) contender.prepare();
  const double cpu = ProcessorSeconds();
  const auto start = std::chrono::steady_clock::now();
  contender.run();
  const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
  turns.cpuSeconds.push_back(ProcessorSeconds() - cpu);
  turns.seconds.push_back(taken.count());
  return taken.count();
}

void Print(const Subject& subject, const std::vector<Result>& results) {
  std::cout << subject.name << ", " << subject.size;
  if (subject.times > 1) std::cout << ", " << subject.times << " times";
  std::cout << '\n' << std::fixed;
  for (const Result& one : results) {
    std::cout << "  " << std::left << std::setw(40) << one.name << std::right << std::setprecision(3)
              << std::setw(12) << one.seconds * 1e3 << " ms" << std::setw(12) << one.cpuSeconds * 1e3
              << " ms cpu" << std::setw(9) << one.ratio << '\n';
  }
  std::cout << std::flush;
}

void Keep(const Subject& subject, const std::vector<Result>& results) {
  const char* const path = std::getenv("DBMSAPI_BENCH_RESULTS");
  if (!path) return;
  std::ofstream file(path, std::ios::app);
  for (const Result& one : results) {
    file << subject.name << '\t' << subject.size << '\t' << subject.times << '\t' << one.name << '\t'
         << one.seconds << '\t' << one.ratio << '\t' << one.cpuSeconds << '\n';
  }
}

}  // namespace

std::vector<Result> Race(const Subject& subject, const std::vector<Contender>& contenders) {
  std::vector<Turns> all(contenders.size());
  for (std::size_t i = 0; i < contenders.size(); ++i) Take(contenders[i], all[i]);
  all.assign(contenders.size(), {});

  for (int round = Rounds(); round > 0; --round) {
    const double first = Take(contenders[0], all[0]);
    all[0].ratios.push_back(1);
    for (std::size_t i = 1; i < contenders.size(); ++i) {
      all[i].ratios.push_back(Take(contenders[i], all[i]) / first);
    }
  }

  std::vector<Result> results;
  for (std::size_t i = 0; i < contenders.size(); ++i) {
    results.push_back(
        {contenders[i].name, Median(all[i].seconds), Median(all[i].ratios), Median(all[i].cpuSeconds)});
  }
  Print(subject, results);
  Keep(subject, results);
  return results;
}

double ProcessorSeconds() {
  timespec now{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &now);
  return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

int Rounds() {
  const char* const rounds = std::getenv("DBMSAPI_BENCH_ROUNDS");
  return rounds ? std::stoi(rounds) : kRounds;
}

double Median(std::vector<double> values) {
  std::sort(values.begin(), values.end());
  const std::size_t middle = values.size() / 2;
  if (values.empty()) return 0;
  return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

void Require(bool done, const std::string& what) {
  if (done) return;
  std::cerr << "failed: " << what << std::endl;
  std::exit(1);
}

}  // namespace bench
