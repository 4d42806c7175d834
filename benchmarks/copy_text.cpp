// What the COPY text of a sample takes, without a server.

#include <benchmark/benchmark.h>

#include <unordered_map>

#include "DbmsAPI/history/CopyText.h"
#include "Plant.h"

namespace {

constexpr std::size_t kSamples = 1000000;
constexpr std::size_t kFlushBytes = 4 * 1024 * 1024;

// As the bulk insert makes it: the name looked up, the line appended, the text given away every 4 MiB.
void CopyText(benchmark::State& state, bench::Values values, bench::Order order, std::size_t tags) {
  const auto samples = bench::PlantSamples(kSamples, tags, values, order);
  std::unordered_map<std::wstring, std::string> names;
  std::string text;
  text.reserve(kFlushBytes + kFlushBytes / 16);
  for (auto _ : state) {
    for (const LogSample& sample : samples) {
      if (!IsStorable(sample)) continue;
      const auto [name, isNew] = names.try_emplace(sample.tagName);
      if (isNew) name->second = CopyName(sample.tagName);
      AppendCopyLine(text, sample.timeMs, name->second, sample.value);
      if (text.size() >= kFlushBytes) text.clear();
    }
    benchmark::DoNotOptimize(text.data());
  }
  const auto made = static_cast<double>(state.iterations()) * static_cast<double>(kSamples);
  state.counters["per_sample"] =
      benchmark::Counter(made, benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

BENCHMARK_CAPTURE(CopyText, ten_digits_by_cycle, bench::Values::TenDigits, bench::Order::ByCycle, 1000);
BENCHMARK_CAPTURE(CopyText, short_by_cycle, bench::Values::Short, bench::Order::ByCycle, 1000);
BENCHMARK_CAPTURE(CopyText, integers_by_cycle, bench::Values::Integers, bench::Order::ByCycle, 1000);
BENCHMARK_CAPTURE(CopyText, ten_digits_by_tag, bench::Values::TenDigits, bench::Order::ByTag, 1000);
BENCHMARK_CAPTURE(CopyText, short_by_tag, bench::Values::Short, bench::Order::ByTag, 1000);
BENCHMARK_CAPTURE(CopyText, integers_by_tag, bench::Values::Integers, bench::Order::ByTag, 1000);

}  // namespace

BENCHMARK_MAIN();
