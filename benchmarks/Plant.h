#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"

// A plant to measure with: tags with names as they are used, and what they were at.

namespace bench {

constexpr std::int64_t kPlantStartMs = 1700000000000;

enum class Values {
  TenDigits,  // all ten significant digits in use, as a computed value has them
  Short,      // one decimal, as a converter delivers them
  Integers    // counters
};

enum class Order {
  ByCycle,  // every tag once, then every tag again: what an acquisition delivers
  ByTag     // all of one tag, then all of the next: what a catch-up delivers
};

std::wstring TagName(std::size_t tag);  // PLANT1.PUMP0042.FLOW

// So many samples of so many tags, one second apart. The same arguments give the same samples.
std::vector<LogSample> PlantSamples(std::size_t count, std::size_t tags, Values values, Order order);

}  // namespace bench
