#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "DbmsAPI/HistoryTypes.h"

// Samples of a plant to measure with; their tags have names like those of a real one.

namespace bench {

constexpr std::int64_t kPlantStartMs = 1700000000000;

enum class Values {
  TenDigits,  // ten significant digits, as computed values have
  Short,      // one decimal, as many converters deliver
  Integers    // counters
};

enum class Order {
  ByCycle,  // every tag once, then every tag again, as live data arrives
  ByTag     // all samples of one tag, then of the next, as in an import
};

std::wstring TagName(std::size_t tag);  // PLANT1.PUMP0042.FLOW

// `count` samples of `tags` tags, one second apart. The same arguments give the same samples.
std::vector<LogSample> PlantSamples(std::size_t count, std::size_t tags, Values values, Order order);

}  // namespace bench
