// What the COPY text of a sample takes, without a server.

#include <benchmark/benchmark.h>

#include "DbmsAPI/history/CopyText.h"
#include "DbmsAPI/history/TagTexts.h"
#include "Plant.h"

namespace {

constexpr std::size_t kSamples = 1000000;
constexpr std::size_t kFlushBytes = 4 * 1024 * 1024;

// As the bulk insert makes it: the name looked up, the line appended, the text given away every 4 MiB.
void CopyText(benchmark::State& state, bench::Values values, bench::Order order, std::size_t tags) {
  const auto samples = bench::PlantSamples(kSamples, tags, values, order);
  TagTexts::Cache names;
  std::string text;
  text.reserve(kFlushBytes + kFlushBytes / 16);
  for (auto _ : state) {
    CopyLines lines(text);
    TagTexts texts(names);
    for (const LogSample& sample : samples) {
      if (!IsStorable(sample)) continue;
      lines.Append(sample.timeMs, texts.Of(sample.tagName), sample.value);
      if (lines.size() < kFlushBytes) continue;
      lines.Finish();
      text.clear();
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
