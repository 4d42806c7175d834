#include <algorithm>
#include <unordered_map>

#include "historian/Coverage.h"
#include "historian/Sql.h"
#include "historian/Trend.h"

namespace historian {
namespace {

// $1 tags, $2 and $3 first instant and the one after the last, in milliseconds.
constexpr char kLastSamples[] =
    "select distinct on (tag_name) tag_name, floor(extract(epoch from time) * 1000), value from datalog "
    "where tag_name = any($1::text[]) and time >= to_timestamp($2::bigint / 1000.0) "
    "and time < to_timestamp($3::bigint / 1000.0) order by tag_name, time desc";

// The last minute or hour of each tag; parameters as above.
constexpr char kLastBucketsHead[] =
    "select tag, extract(epoch from bucket) * 1000 from unnest($1::text[]) tag "
    "cross join lateral (select bucket from ";
constexpr char kLastBucketsTail[] =
    " where tag_name = tag and bucket >= to_timestamp($2::bigint / 1000.0) "
    "and bucket < to_timestamp($3::bigint / 1000.0) order by bucket desc limit 1) last";

// $1 tags, $2 the beginning of a bucket for each tag, $3 the length of a bucket, $4 and $5 the bounds of all
// buckets.
constexpr char kLastSamplesOfBuckets[] =
    "select tag, floor(extract(epoch from time) * 1000), value "
    "from unnest($1::text[], $2::bigint[]) as bucket(tag, start) "
    "cross join lateral (select time, value from datalog where tag_name = tag "
    "and time >= to_timestamp(start / 1000.0) and time < to_timestamp((start + $3::bigint) / 1000.0) "
    "and time >= to_timestamp($4::bigint / 1000.0) and time < to_timestamp($5::bigint / 1000.0) "
    "order by time desc limit 1) last";

// Without an aggregate, this last stretch of the samples is searched first, then longer and longer ones.
constexpr std::int64_t kFirstStretch = 10 * 60'000;
constexpr std::int64_t kGrowth = 4;

class LastSamples {
 public:
  LastSamples(Link& link, const std::vector<std::string>& tags)
      : link_(link), missing_(tags.begin(), tags.end()) {
    std::sort(missing_.begin(), missing_.end());
    missing_.erase(std::unique(missing_.begin(), missing_.end()), missing_.end());
  }

  void Search(const Segment& segment) {
    segment.store == Store::Samples ? SearchSamples(segment.range) : SearchAggregate(segment);
  }
  bool Done() const { return missing_.empty(); }
  const std::unordered_map<std::string, TagSample>& Found() const { return found_; }

 private:
  void SearchSamples(const Range& range);
  void SearchAggregate(const Segment& segment);
  void Take(const Result& rows);

  Link& link_;
  std::vector<std::string> missing_;
  std::unordered_map<std::string, TagSample> found_;
};

void LastSamples::Take(const Result& rows) {
  for (int row = 0; row < rows.size(); ++row) {
    TagSample sample;
    sample.tag = rows.Text(row, 0);
    sample.time = Time(std::chrono::milliseconds(rows.Integer(row, 1)));
    if (!rows.IsNull(row, 2)) sample.value = rows.Number(row, 2);
    found_.emplace(sample.tag, sample);
  }
  std::erase_if(missing_, [&](const std::string& tag) { return found_.contains(tag); });
}

void LastSamples::SearchSamples(const Range& range) {
  std::int64_t length = kFirstStretch;
  for (std::int64_t end = range.end; end > range.begin && !Done(); length *= kGrowth) {
    const std::int64_t begin = end - range.begin > length ? end - length : range.begin;
    Take(link_.Run(kLastSamples, {ArrayLiteral(missing_), std::to_string(begin), std::to_string(end)}));
    end = begin;
  }
}

void LastSamples::SearchAggregate(const Segment& segment) {
  const std::string view = segment.store == Store::Minutes ? "datalog_1m" : "datalog_1h";
  const std::string begin = std::to_string(segment.range.begin), end = std::to_string(segment.range.end);
  const Result rows =
      link_.Run(kLastBucketsHead + view + kLastBucketsTail, {ArrayLiteral(missing_), begin, end});
  std::vector<std::string> tags;
  std::vector<std::int64_t> buckets;
  for (int row = 0; row < rows.size(); ++row) {
    tags.emplace_back(rows.Text(row, 0));
    buckets.push_back(rows.Integer(row, 1));
  }
  if (tags.empty()) return;
  Take(link_.Run(kLastSamplesOfBuckets, {ArrayLiteral(tags), ArrayLiteral(buckets),
                                         std::to_string(Unit(segment.store)), begin, end}));
}

}  // namespace

std::vector<TagSample> ReadLastSamples(Dbms& dbms, const std::vector<std::string>& tags,
                                       std::optional<Time> before) {
  Link link(dbms, "read last samples");
  const Coverage coverage = ReadCoverage(link);
  Range range = Extent(link, coverage);
  if (before) range.end = std::min(range.end, before->time_since_epoch().count());

  LastSamples search(link, tags);
  const std::vector<Segment> segments = Split(coverage, range, {Store::Minutes, Store::Hours});
  for (auto segment = segments.rbegin(); segment != segments.rend() && !search.Done(); ++segment) {
    search.Search(*segment);
  }
  std::vector<TagSample> samples;
  for (const std::string& tag : tags) {
    if (const auto found = search.Found().find(tag); found != search.Found().end())
      samples.push_back(found->second);
  }
  return samples;
}

}  // namespace historian
