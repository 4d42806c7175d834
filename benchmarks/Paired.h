#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// Compares ways to do the same thing: they take turns (A B A B ...), so that what else happens on the machine
// meets all of them alike, and each turn is set against the first contender's turn of the same round.

namespace bench {

// What is done: something of a size, so many times a turn.
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

// What one contender took.
struct Result {
  std::string name;
  double seconds = 0;     // median of its turns
  double ratio = 0;       // median over the rounds of its turn / the first contender's turn
  double cpuSeconds = 0;  // median of the processor time of this process
};

// Runs DBMSAPI_BENCH_ROUNDS rounds (9) after one that does not count. Writes a table to standard output and,
// when DBMSAPI_BENCH_RESULTS names a file, a line per contender to that: subject, size, times, contender,
// seconds, ratio, processor seconds.
std::vector<Result> Race(const Subject& subject, const std::vector<Contender>& contenders);

// The middle one; of an even number the mean of the two.
double Median(std::vector<double> values);

// Ends the program when something that must not fail has failed.
void Require(bool done, const std::string& what);

}  // namespace bench
