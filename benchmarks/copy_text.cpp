// Measures making the COPY text of samples, without a server.

#include <benchmark/benchmark.h>

#include <span>

#include "DbmsAPI/history/CopyText.h"
#include "DbmsAPI/history/TagNameCache.h"
#include "Plant.h"

namespace {

constexpr std::size_t kSamples = 1000000;
constexpr std::size_t kMostSamples = 10000000;
constexpr std::size_t kTags = 1000;
constexpr std::size_t kFlushBytes = 4 * 1024 * 1024;

// Makes the text as InsertLogData does: looks the name up, appends the line, and hands the text over every 4
// MiB.
class TextMaker {
 public:
  TextMaker() { text_.reserve(kFlushBytes + kFlushBytes / 16); }

  void MakeBatch(std::span<const LogSample> samples) {
    for (const LogSample& sample : samples) {
      if (!IsStorable(sample)) continue;
      AppendCopyLine(text_, sample.timeMs, names_.Escaped(sample.tagName), sample.value);
      if (text_.size() >= kFlushBytes) text_.clear();
    }
    benchmark::DoNotOptimize(text_.data());
    text_.clear();
  }

 private:
  TagNameCache names_;
  std::string text_;
};

void CountSamples(benchmark::State& state, std::size_t samples) {
  state.counters["per_sample"] =
      benchmark::Counter(static_cast<double>(state.iterations()) * static_cast<double>(samples),
                         benchmark::Counter::kIsRate | benchmark::Counter::kInvert);
}

// By the kind of values and the order of the tags.
void CopyText(benchmark::State& state, bench::Values values, bench::Order order) {
  const auto samples = bench::PlantSamples(kSamples, kTags, values, order);
  TextMaker maker;
  for (auto _ : state) maker.MakeBatch(samples);
  CountSamples(state, samples.size());
}

// By the size of a batch.
void CopyTextBatch(benchmark::State& state, std::size_t tags) {
  const auto all = bench::PlantSamples(kMostSamples, tags, bench::Values::TenDigits, bench::Order::ByCycle);
  const auto size = static_cast<std::size_t>(state.range(0));
  TextMaker maker;
  for (auto _ : state) {
    for (std::size_t first = 0; first < all.size(); first += size) {
      maker.MakeBatch(std::span(all).subspan(first, size));
    }
  }
  CountSamples(state, all.size());
}

BENCHMARK_CAPTURE(CopyText, ten_digits_by_cycle, bench::Values::TenDigits, bench::Order::ByCycle);
BENCHMARK_CAPTURE(CopyText, short_by_cycle, bench::Values::Short, bench::Order::ByCycle);
BENCHMARK_CAPTURE(CopyText, integers_by_cycle, bench::Values::Integers, bench::Order::ByCycle);
BENCHMARK_CAPTURE(CopyText, ten_digits_by_tag, bench::Values::TenDigits, bench::Order::ByTag);
BENCHMARK_CAPTURE(CopyText, short_by_tag, bench::Values::Short, bench::Order::ByTag);
BENCHMARK_CAPTURE(CopyText, integers_by_tag, bench::Values::Integers, bench::Order::ByTag);

BENCHMARK_CAPTURE(CopyTextBatch, tags_100, 100)->RangeMultiplier(10)->Range(1000, kMostSamples);
BENCHMARK_CAPTURE(CopyTextBatch, tags_1000, 1000)->RangeMultiplier(10)->Range(1000, kMostSamples);

}  // namespace

BENCHMARK_MAIN();
