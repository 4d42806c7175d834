#include "TrendPage.h"

#include <array>
#include <charconv>
#include <fstream>

#include "Chart.h"
#include "Failure.h"
#include "Text.h"

namespace historian::command {
namespace {

constexpr double kWidth = 1000, kHeight = 260, kLeft = 70, kRight = 15, kTop = 10, kBottom = 28;

constexpr char kStyle[] = R"(<style>
:root { color-scheme: light dark; --text: #1c2330; --back: #fff; --rule: #d7dce4; --line: #0969da; }
@media (prefers-color-scheme: dark) { :root { --text: #e2e6ee; --back: #12161e; --rule: #333b48; --line: #58a6ff; } }
body { font: 15px system-ui, sans-serif; color: var(--text); background: var(--back); max-width: 1000px; margin: 2em auto; padding: 0 1em; }
svg { width: 100%; height: auto; } svg text { fill: var(--text); font-size: 12px; }
.rule { stroke: var(--rule); fill: none; } .mean { stroke: var(--line); fill: none; stroke-width: 1.5; stroke-linejoin: round; }
.band { fill: var(--line); fill-opacity: .25; stroke: var(--line); stroke-opacity: .25; }
h2 { font-size: 1.05em; margin-bottom: .2em; overflow-wrap: anywhere; }
</style>)";

std::string EscapeHtml(const std::string& text) {
  std::string out;
  for (const char c : text) {
    switch (c) {
      case '&': out += "&amp;"; break;
      case '<': out += "&lt;"; break;
      case '>': out += "&gt;"; break;
      case '"': out += "&quot;"; break;
      default: out += c;
    }
  }
  return out;
}

std::string Place(double at) {
  std::array<char, 32> text;
  return {text.data(),
          std::to_chars(text.data(), text.data() + text.size(), at, std::chars_format::fixed, 1).ptr};
}

class Drawing {
 public:
  Drawing(const TagTrend& tag, Time from, Time to, const Zone& zone)
      : tag_(tag), from_(from), to_(to), zone_(zone), range_(RangeOf(tag)) {}

  std::string Svg() const {
    return "<svg viewBox=\"0 0 " + Place(kWidth) + ' ' + Place(kHeight) + "\" role=\"img\" aria-label=\"" +
           EscapeHtml(tag_.tag) + "\">\n" + Axes() + "<path class=\"band\" d=\"" + Band() +
           "\"/>\n<path class=\"mean\" d=\"" + Mean() + "\"/>\n</svg>\n";
  }

 private:
  double X(Time time) const {
    return kLeft + (kWidth - kLeft - kRight) * static_cast<double>((time - from_).count()) /
                       static_cast<double>((to_ - from_).count());
  }
  double Y(double value) const { return kTop + (kHeight - kTop - kBottom) * (1 - range_.Share(value)); }

  std::string Axes() const {
    std::string out;
    for (const double tick : ValueTicks(range_, 6)) {
      const std::string y = Place(Y(tick));
      out += "<path class=\"rule\" d=\"M" + Place(kLeft) + ' ' + y + 'H' + Place(kWidth - kRight) +
             "\"/><text x=\"" + Place(kLeft - 8) + "\" y=\"" + Place(Y(tick) + 4) +
             "\" text-anchor=\"end\">" + FormatValue(tick) + "</text>\n";
    }
    for (const TimeTick& tick : TimeTicks(from_, to_, 8, zone_)) {
      const std::string x = Place(X(tick.time));
      out += "<path class=\"rule\" d=\"M" + x + ' ' + Place(kTop) + 'V' + Place(kHeight - kBottom) +
             "\"/><text x=\"" + x + "\" y=\"" + Place(kHeight - 8) + "\" text-anchor=\"middle\">" +
             tick.label + "</text>\n";
    }
    return out;
  }

  // The band from minimum to maximum of each bucket.
  std::string Band() const {
    std::string path;
    for (const TrendBucket& bucket : tag_.buckets) {
      if (bucket.HasValue() && bucket.min < bucket.max) {
        path += 'M' + Place(X(bucket.time)) + ' ' + Place(Y(bucket.min)) + 'V' + Place(Y(bucket.max));
      }
    }
    return path;
  }

  std::string Mean() const {
    const Joins joined(tag_);
    std::string path;
    const TrendBucket* previous = nullptr;
    for (const TrendBucket& bucket : tag_.buckets) {
      const bool value = bucket.HasValue();
      if (value) {
        path += (previous != nullptr && joined(*previous, bucket) ? 'L' : 'M') + Place(X(bucket.time)) + ' ' +
                Place(Y(bucket.mean));
      }
      previous = value ? &bucket : nullptr;
    }
    return path;
  }

  const TagTrend& tag_;
  Time from_, to_;
  const Zone& zone_;
  ValueRange range_;
};

}  // namespace

void WriteTrendPage(const std::string& path, const Trend& trend, Time from, Time to, const Zone& zone) {
  std::ofstream out(PathOf(path), std::ios::binary);
  out << "<!doctype html>\n<html lang=\"en\"><head><meta charset=\"utf-8\">\n<meta name=\"viewport\" content=\"width=device-width\">\n"
      << "<title>" << EscapeHtml(trend.tags[0].tag) << "</title>\n"
      << kStyle << "</head><body>\n<p>" << EscapeHtml(RangeText(from, to, zone))
      << "; the line is the mean, the band reaches from minimum to maximum</p>\n";
  for (const TagTrend& tag : trend.tags) {
    out << "<h2>" << EscapeHtml(tag.tag) << "</h2>\n" << Drawing(tag, from, to, zone).Svg();
  }
  out << "</body></html>\n";
  if (!out.flush()) throw Refusal(OneLine(path) + ": cannot be written");
}

}  // namespace historian::command
