#include "Chart.h"

#include <algorithm>
#include <cmath>

#include "Text.h"
#include "port/Utf8.h"

namespace historian::command {
namespace {

constexpr std::size_t kDotsAcross = 2, kDotsDown = 4;  // dots in a cell
constexpr std::size_t kLabelCells = kChartMargin - 2;
constexpr int kUsualDistances = 4;
constexpr std::size_t kCellsPerTimeLabel = 14;

// Braille patterns number the dots of a cell column by column, except that the two in the last row come last.
constexpr unsigned kDotBits[kDotsDown][kDotsAcross] = {
    {0x01, 0x08}, {0x02, 0x10}, {0x04, 0x20}, {0x40, 0x80}};

class Canvas {
 public:
  Canvas(std::size_t width, std::size_t height) : width_(width), height_(height), cells_(width * height, 0) {}

  void Set(std::size_t x, std::size_t y) {
    cells_[y / kDotsDown * width_ + x / kDotsAcross] |= kDotBits[y % kDotsDown][x % kDotsAcross];
  }
  void Column(std::size_t x, std::size_t y1, std::size_t y2) {
    for (std::size_t y = std::min(y1, y2); y <= std::max(y1, y2); ++y) Set(x, y);
  }
  // Draws a line from one dot to another, a column at a time.
  void Line(std::size_t x1, std::size_t y1, std::size_t x2, std::size_t y2) {
    const double slope =
        x2 == x1 ? 0 : (static_cast<double>(y2) - static_cast<double>(y1)) / static_cast<double>(x2 - x1);
    auto y = y1;
    for (std::size_t x = x1; x < x2; ++x) {
      const auto next = static_cast<std::size_t>(
          std::lround(static_cast<double>(y1) + slope * static_cast<double>(x + 1 - x1)));
      Column(x, y, next == y ? y : next > y ? next - 1 : next + 1);
      y = next;
    }
  }
  std::string Row(std::size_t row) const {
    std::wstring text;
    for (std::size_t x = 0; x < width_; ++x) {
      const unsigned cell = cells_[row * width_ + x];
      text += cell == 0 ? L' ' : static_cast<wchar_t>(0x2800 + cell);
    }
    return sys::ToUtf8(text);
  }
  std::size_t dots_across() const { return width_ * kDotsAcross; }
  std::size_t dots_down() const { return height_ * kDotsDown; }

 private:
  std::size_t width_, height_;
  std::vector<unsigned> cells_;
};

std::size_t PlotWidth(const ChartSize& size) { return size.width - std::min(size.width - 8, kChartMargin); }

std::size_t Dot(double share, std::size_t dots) {
  const double at = std::floor(share * static_cast<double>(dots));
  return static_cast<std::size_t>(std::clamp(at, 0.0, static_cast<double>(dots - 1)));
}

double ShareOf(Time time, Time from, Time to) {
  return static_cast<double>((time - from).count()) /
         static_cast<double>(std::max<std::int64_t>((to - from).count(), 1));
}

void Plot(const TagTrend& trend, Time from, Time to, const ValueRange& range, Canvas& canvas) {
  const Joins joined(trend);
  const auto x_of = [&](const TrendBucket& bucket) {
    return Dot(ShareOf(bucket.time, from, to), canvas.dots_across());
  };
  const auto y_of = [&](double value) { return Dot(1 - range.Share(value), canvas.dots_down()); };
  const TrendBucket* previous = nullptr;
  for (const TrendBucket& bucket : trend.buckets) {
    if (!bucket.HasValue()) {
      previous = nullptr;
      continue;
    }
    canvas.Column(x_of(bucket), y_of(bucket.min), y_of(bucket.max));
    if (previous != nullptr && joined(*previous, bucket)) {
      canvas.Line(x_of(*previous), y_of(previous->mean), x_of(bucket), y_of(bucket.mean));
    }
    previous = &bucket;
  }
}

}  // namespace

std::size_t DotsAcross(const ChartSize& size) { return PlotWidth(size) * kDotsAcross; }

ValueRange RangeOf(const TagTrend& trend) {
  ValueRange range{INFINITY, -INFINITY};
  for (const TrendBucket& bucket : trend.buckets) {
    if (!bucket.HasValue()) continue;
    range.low = std::min(range.low, bucket.min);
    range.high = std::max(range.high, bucket.max);
  }
  if (range.low > range.high) return {};
  const double room = std::max(std::abs(range.low), 1.0) * 1e-9;
  if (range.high - range.low < room)
    return {range.low - std::max(std::abs(range.low) * 0.1, 0.5),
            range.high + std::max(std::abs(range.high) * 0.1, 0.5)};
  return range;
}

Joins::Joins(const TagTrend& trend) {
  std::vector<std::chrono::milliseconds> distances;
  for (std::size_t i = 1; i < trend.buckets.size(); ++i) {
    distances.push_back(trend.buckets[i].time - trend.buckets[i - 1].time);
  }
  if (distances.empty()) return;
  const auto middle = distances.begin() + static_cast<std::ptrdiff_t>(distances.size() / 2);
  std::nth_element(distances.begin(), middle, distances.end());
  longest_ = kUsualDistances * *middle;
}

bool Joins::operator()(const TrendBucket& a, const TrendBucket& b) const {
  return b.time - a.time <= longest_;
}

std::vector<std::string> DrawChart(const TagTrend& trend, Time from, Time to, const ChartSize& size) {
  const ValueRange range = RangeOf(trend);
  Canvas canvas(PlotWidth(size), size.height);
  Plot(trend, from, to, range, canvas);
  std::vector<std::string> labels(size.height);
  for (const double tick : ValueTicks(range, std::max<std::size_t>(size.height / 2, 2))) {
    labels[Dot(1 - range.Share(tick), size.height)] = FormatValue(tick);
  }
  std::vector<std::string> lines;
  for (std::size_t row = 0; row < size.height; ++row) {
    lines.push_back(AlignRight(labels[row], kLabelCells) + (labels[row].empty() ? " │" : " ┤") +
                    canvas.Row(row));
  }
  return lines;
}

std::vector<std::string> DrawTimeAxis(Time from, Time to, const ChartSize& size, const Zone& zone) {
  const std::size_t width = PlotWidth(size);
  std::vector<std::string> rule(width, "─");
  std::string labels;
  for (const TimeTick& tick : TimeTicks(from, to, width / kCellsPerTimeLabel, zone)) {
    const std::size_t at = Dot(ShareOf(tick.time, from, to), width);
    rule[at] = "┬";
    const std::size_t begin = std::min(at, width - std::min(width, tick.label.size()));
    if (!labels.empty() && begin <= labels.size()) continue;
    labels.append(begin - labels.size(), ' ').append(tick.label);
  }
  std::string line;
  for (const std::string& cell : rule) line += cell;
  const std::string margin(kLabelCells + 2, ' ');
  return {std::string(kLabelCells + 1, ' ') + "└" + line, margin + labels};
}

}  // namespace historian::command
