#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// Compares several ways to do the same thing, the contenders. They take turns (A B A B ...), so that a
// disturbance of the machine affects all of them. Each turn is compared with the first contender's turn of
// the same round.

namespace bench {

// What is measured: an operation on `size` items, `times` times per turn.
struct Subject {
  std::string name;
  std::size_t size = 1;
  std::size_t times = 1;
};

// One way to do it.
struct Contender {
  std::string name;
  std::function<void()> prepare;  // puts everything in the same state before each turn; not timed
  std::function<void()> run;
};

// The result of one contender.
struct Result {
  std::string name;
  double seconds = 0;     // median of its turns
  double ratio = 0;       // median over the rounds of its turn / the first contender's turn
  double cpuSeconds = 0;  // median of the processor time of this process
};

// Runs a round to warm up, then DBMSAPI_BENCH_ROUNDS rounds (default 9). Prints a table. Appends a line for
// each contender to the file that DBMSAPI_BENCH_RESULTS names, if any: subject, size, times, contender,
// seconds, ratio, processor seconds.
std::vector<Result> Race(const Subject& subject, const std::vector<Contender>& contenders);

// DBMSAPI_BENCH_ROUNDS, or 9.
int Rounds();

// User and system time of this process so far.
double ProcessorSeconds();

double Median(std::vector<double> values);

// Ends the program with an error message unless `done`.
void Require(bool done, const std::string& what);

}  // namespace bench
