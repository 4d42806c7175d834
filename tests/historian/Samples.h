#pragma once

#include <algorithm>
#include <string>

#include "DbmsAPI/HistoryTypes.h"
#include "historian/Backfill.h"

namespace historian {

// Reads samples in batches of a size; the position is the index of a sample.
inline SampleReader InBatches(const std::vector<LogSample>& all, std::size_t size) {
  return [&all, size](std::int64_t position, std::vector<LogSample>& samples) -> std::optional<std::int64_t> {
    const auto begin = static_cast<std::size_t>(position);
    if (begin >= all.size()) return std::nullopt;
    const std::size_t end = std::min(begin + size, all.size());
    samples.insert(samples.end(), all.begin() + static_cast<std::ptrdiff_t>(begin),
                   all.begin() + static_cast<std::ptrdiff_t>(end));
    return static_cast<std::int64_t>(end);
  };
}

// `cycles` samples of each of `tags` tags, a second apart, cycle by cycle.
inline std::vector<LogSample> Cycles(std::int64_t startMs, int cycles, int tags) {
  std::vector<LogSample> samples;
  for (int cycle = 0; cycle < cycles; ++cycle) {
    for (int tag = 0; tag < tags; ++tag) {
      samples.push_back({startMs + cycle * 1000, L"TAG" + std::to_wstring(tag), cycle + tag / 7.0});
    }
  }
  return samples;
}

}  // namespace historian
