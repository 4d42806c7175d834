// historian trend: shows the trends of tags as a chart in the terminal, a table or a page.
#include "historian/Trend.h"

#include <charconv>
#include <cmath>
#include <nlohmann/json.hpp>

#include "Chart.h"
#include "Failure.h"
#include "Subcommand.h"
#include "Table.h"
#include "Text.h"
#include "TrendPage.h"
#include "csv/Times.h"

namespace historian::command {
namespace {

struct TrendOptions {
  CommonOptions common;
  std::vector<std::string> tags;
  std::string from, to, every;
  std::string html;
  std::size_t height = 0;
  bool table = false;
};

constexpr int kPageBuckets = 1000;
constexpr int kMostBuckets = 1'000'000;
constexpr const char* kColours[] = {"36", "33", "35", "32", "34", "31"};

nlohmann::json Number(double value) { return std::isnan(value) ? nlohmann::json() : nlohmann::json(value); }
std::string Cell(double value) { return std::isnan(value) ? "-" : FormatValue(value); }

const char* SourceOf(Resolution resolution) {
  switch (resolution) {
    case Resolution::Minutes: return "means of minutes";
    case Resolution::Hours: return "means of hours";
    case Resolution::Samples: break;
  }
  return "samples";
}

class Show {
 public:
  Show(const TrendOptions& options, Terminal& terminal)
      : options_(options),
        terminal_(terminal),
        zone_(FindZone(options.common.zone)),
        server_(options.common.server) {
    size_.width = terminal.width();
    size_.height = options.height != 0 ? options.height : options.tags.size() == 1 ? 14 : 7;
  }

  int Run() {
    server_.RequireTable("datalog");
    FindRange();
    Trend trend = ReadTrend(server_.dbms(), options_.tags, from_, to_, Buckets());
    if (options_.from.empty() && every_.count() == 0 && BeginWithFirst(trend)) {
      trend = ReadTrend(server_.dbms(), options_.tags, from_, to_, Buckets());
    }
    if (!options_.html.empty()) WritePage(trend);
    if (options_.common.json) {
      PrintJson(trend);
    } else if (options_.table) {
      PrintTable(trend);
    } else if (options_.html.empty()) {
      PrintCharts(trend);
    }
    return kDone;
  }

 private:
  // If the samples cover less than the day that is shown by default, narrows the range to them. Returns false
  // if there is nothing to narrow.
  bool BeginWithFirst(const Trend& trend) {
    Time first = to_;
    for (const TagTrend& tag : trend.tags) {
      if (!tag.buckets.empty()) first = std::min(first, tag.buckets.front().time);
    }
    if (first >= to_ || first - from_ < (to_ - from_) / 4) return false;
    from_ = first;
    return true;
  }

  // By default the range ends with the last sample of the tags and is a day long.
  void FindRange() {
    const auto last = ReadLastSamples(server_.dbms(), options_.tags);
    for (const std::string& tag : options_.tags) {
      const auto is = [&](const TagSample& sample) { return sample.tag == tag; };
      if (std::none_of(last.begin(), last.end(), is))
        throw Refusal("there is no sample of the tag " + Quote(tag) +
                      "; historian tags lists those there are");
    }
    to_ = last[0].time;
    for (const TagSample& sample : last) to_ = std::max(to_, sample.time);
    to_ += std::chrono::milliseconds(1);
    if (!options_.to.empty()) to_ = ReadTimeArgument("--to", options_.to, *zone_);
    from_ = ReadTimeArgument("--from", options_.from.empty() ? "24h" : options_.from, *zone_, to_);
    if (!options_.every.empty()) {
      every_ = to_ - ReadTimeArgument("--every", options_.every, *zone_, to_);
      if (every_.count() < 1) throw Refusal("--every: " + Quote(options_.every) + " is no stretch of time");
      const auto local = zone_->ToLocal(from_).time_since_epoch();
      from_ -= local - local / every_ * every_;
      to_ = from_ + (to_ - from_ + every_ - std::chrono::milliseconds(1)) / every_ * every_;
    }
    if (to_ <= from_) throw Refusal("the range ends before it begins");
  }

  int Buckets() const {
    if (every_.count() != 0) {
      const auto buckets = (to_ - from_) / every_;
      if (buckets > kMostBuckets)
        throw Refusal("--every " + options_.every + " makes " +
                      FormatCount(static_cast<std::uint64_t>(buckets)) +
                      " rows a tag; at most 1,000,000 can be shown");
      return static_cast<int>(buckets);
    }
    return options_.html.empty() ? static_cast<int>(DotsAcross(size_)) : kPageBuckets;
  }

  void PrintCharts(const Trend& trend) {
    for (std::size_t i = 0; i < trend.tags.size(); ++i) {
      const TagTrend& tag = trend.tags[i];
      const char* colour = kColours[i % std::size(kColours)];
      terminal_.Line(' ' + terminal_.Styled(std::string("1;") + colour, OneLine(tag.tag)) + "  " +
                     Summary(tag));
      for (const std::string& line : DrawChart(tag, from_, to_, size_)) {
        const std::size_t axis = line.find_first_of("\xe2");  // the bar of the axis
        terminal_.Line(line.substr(0, axis + 3) + terminal_.Styled(colour, line.substr(axis + 3)));
      }
    }
    for (const std::string& line : DrawTimeAxis(from_, to_, size_, *zone_)) terminal_.Line(line);
    terminal_.Line(
        terminal_.Dim(' ' + RangeText(from_, to_, *zone_) + "; from " + SourceOf(trend.resolution)));
  }

  // Lowest, highest and last value, and the mean of the buckets.
  std::string Summary(const TagTrend& tag) const {
    std::size_t count = 0;
    double sum = 0, last = NAN;
    for (const TrendBucket& bucket : tag.buckets) {
      if (!bucket.HasValue()) continue;
      ++count;
      sum += bucket.mean;
      last = bucket.mean;
    }
    if (count == 0) return "no value in this range";
    const ValueRange range = RangeOf(tag);
    return "min " + FormatValue(range.low) + "  mean " + FormatValue(sum / static_cast<double>(count)) +
           "  max " + FormatValue(range.high) + "  last " + FormatValue(last);
  }

  void PrintTable(const Trend& trend) {
    using enum Table::Align;
    Table table({{"time", Left}, {"tag", Left}, {"min"}, {"mean"}, {"max"}}, 1);
    for (const TagTrend& tag : trend.tags) {
      for (const TrendBucket& bucket : tag.buckets) {
        table.AddRow({FormatTime(bucket.time, *zone_), tag.tag, Cell(bucket.min), Cell(bucket.mean),
                      Cell(bucket.max)});
      }
    }
    table.Print(terminal_);
    terminal_.Line(std::string(" times in ") + zone_->name() + "; from " + SourceOf(trend.resolution));
  }

  void PrintJson(const Trend& trend) {
    nlohmann::json tags = nlohmann::json::array();
    for (const TagTrend& tag : trend.tags) {
      nlohmann::json buckets = nlohmann::json::array();
      for (const TrendBucket& bucket : tag.buckets) {
        buckets.push_back({{"time", FormatUtc(bucket.time)},
                           {"min", Number(bucket.min)},
                           {"mean", Number(bucket.mean)},
                           {"max", Number(bucket.max)}});
      }
      tags.push_back({{"tag", tag.tag}, {"raw", tag.raw}, {"buckets", buckets}});
    }
    terminal_.Line(nlohmann::json{
        {"from", FormatUtc(from_)},
        {"to", FormatUtc(to_)},
        {"source", SourceOf(trend.resolution)},
        {"tags", tags}}.dump(1));
  }

  void WritePage(const Trend& trend) {
    WriteTrendPage(options_.html, trend, from_, to_, *zone_);
    if (!options_.common.json && !options_.table) terminal_.Line(OneLine(options_.html) + " is written");
  }

  const TrendOptions& options_;
  Terminal& terminal_;
  std::unique_ptr<Zone> zone_;
  Server server_;
  ChartSize size_;
  Time from_, to_;
  std::chrono::milliseconds every_{0};
};

}  // namespace

Subcommand AddTrend(CLI::App& program) {
  auto options = std::make_shared<TrendOptions>();
  CommandLine command(program, "trend", "Show the trends of tags: a chart in the terminal, a table, a page");
  command.Add("TAG", options->tags, "Tags to show").Required();
  command.Add(
      "--from TIME", options->from,
      "From this time on: 2026-11-21, \"2026-11-21 20:40\"; 24h, 7d, 1y: that long before the end [24h]");
  command.Add("--to TIME", options->to, "Up to this time [the last sample]");
  command.Add("--every TIME", options->every, "Length of the intervals shown: 1m, 1h, 1d [automatic]");
  command.Add("--table", options->table, "Write a table: minimum, mean and maximum of each interval");
  command.Add("--html FILE", options->html, "Write a self-contained page");
  command.Add("--height ROWS", options->height, "Rows of a chart").Between(2, 200);
  AddCommonOptions(command, options->common, true);
  command.SetExamples(
      "  historian trend PUMP.SPEED\n"
      "  historian trend BOILER.TEMP BOILER.PRESSURE --from 7d --zone Europe/Berlin\n"
      "  historian trend BOILER.TEMP --from 2026-11-01 --to 2026-12-01 --every 1d --table\n"
      "  historian trend BOILER.TEMP --from 1y --html boiler.html");
  return {command.app(), [options](Terminal& terminal) { return Show(*options, terminal).Run(); }};
}

}  // namespace historian::command
