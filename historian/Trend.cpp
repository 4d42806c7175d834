#include "historian/Trend.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <unordered_map>

#include "historian/Coverage.h"
#include "historian/Sql.h"

namespace historian {
namespace {

// Columns of each statement for a tag and a bucket: beginning of the bucket in milliseconds, number of rows
// and, for the rows with a value, their number, sum, minimum and maximum. The beginning is computed once per
// bucket, not for each row.
constexpr char kHead[] =
    "select tag_name, extract(epoch from begin) * 1000, rows, numbers, total, low, high from (";

// Parameters of all three: $1 tags, $2 and $3 first instant and the one after the last, $4 width of a bucket,
// $5 beginning of the first bucket; all in milliseconds.
constexpr char kSamples[] =
    "select tag_name, date_bin($4::bigint * interval '1 millisecond', time, "
    "to_timestamp($5::bigint / 1000.0)) as begin, count(*) as rows, count(value) as numbers, "
    "sum(value) as total, min(value) as low, max(value) as high from datalog "
    "where tag_name = any($1::text[]) and time >= to_timestamp($2::bigint / 1000.0) "
    "and time < to_timestamp($3::bigint / 1000.0) group by 1, 2) bucket";

// A row is a minute.
constexpr char kMinutesOfSamples[] =
    "select tag_name, date_bin($4::bigint * interval '1 millisecond', start, "
    "to_timestamp($5::bigint / 1000.0)) as begin, count(*) as rows, count(mean) as numbers, "
    "sum(mean) as total, min(low) as low, max(high) as high from ("
    "select tag_name, date_bin('1 minute', time, to_timestamp($5::bigint / 1000.0)) as start, "
    "avg(value) as mean, min(value) as low, max(value) as high from datalog "
    "where tag_name = any($1::text[]) and time >= to_timestamp($2::bigint / 1000.0) "
    "and time < to_timestamp($3::bigint / 1000.0) group by 1, 2) minute group by 1, 2) bucket";

constexpr char kFromAggregate[] =
    "select tag_name, date_bin($4::bigint * interval '1 millisecond', bucket, "
    "to_timestamp($5::bigint / 1000.0)) as begin, count(*) as rows, count(avg_val) as numbers, "
    "sum(avg_val) as total, min(min_val) as low, max(max_val) as high from ";
constexpr char kAggregateTail[] =
    " where tag_name = any($1::text[]) and bucket >= to_timestamp($2::bigint / 1000.0) "
    "and bucket < to_timestamp($3::bigint / 1000.0) group by 1, 2) bucket";

// $1 tags, $2 and $3 as above, $4 most rows.
constexpr char kRawSamples[] =
    "select tag_name, floor(extract(epoch from time) * 1000), value from datalog "
    "where tag_name = any($1::text[]) and time >= to_timestamp($2::bigint / 1000.0) "
    "and time < to_timestamp($3::bigint / 1000.0) limit $4::bigint";

// The server's first timestamp, and the one after its last.
constexpr std::int64_t kFirstTime = -210'866'803'200'000;
constexpr std::int64_t kLastTime = 9'224'318'016'000'000;

struct Mean {
  std::int64_t values = 0;
  double sum = 0;

  void Add(std::int64_t count, double itsSum) {
    values += count;
    sum += itsSum;
  }
};

// The values of a bucket, as far as read.
struct Sum {
  Mean mean;
  double min = std::numeric_limits<double>::infinity();
  double max = -std::numeric_limits<double>::infinity();
};

struct TagSum {
  std::map<std::int64_t, Sum> buckets;  // by their beginning
  std::map<std::int64_t, Mean>
      units;  // minutes or hours that are computed from smaller rows, by their beginning
  std::int64_t rows = 0;
  bool samplesStored = true;  // for everything that was read
};

class TrendReader {
 public:
  TrendReader(Dbms& dbms, const std::vector<std::string>& tags, Range range, int buckets)
      : link_(dbms, "read a trend"),
        range_(range),
        most_(buckets),
        coverage_(ReadCoverage(link_)),
        buckets_(ChooseBuckets(coverage_, range, buckets)) {
    for (const std::string& tag : tags) tags_[tag];
  }

  void Read();
  TagTrend TrendOf(const std::string& tag) const;
  const Buckets& buckets() const { return buckets_; }

 private:
  void ReadSegment(const Segment& segment, const std::string& tags);
  void AddUnits();
  void ReadRaw(const std::vector<std::string>& tags);

  Link link_;
  const Range range_;
  const int most_;
  const Coverage coverage_;
  const Buckets buckets_;
  std::unordered_map<std::string, TagSum> tags_;
  std::unordered_map<std::string, std::vector<TrendBucket>> raw_;
};

double ValueOrNan(const Result& rows, int row, int column) {
  return rows.IsNull(row, column) ? std::numeric_limits<double>::quiet_NaN() : rows.Number(row, column);
}

// Rows of the chosen store are added up for each bucket. Other rows are first added up to minutes or hours,
// because two segments may each have a part of one.
void TrendReader::ReadSegment(const Segment& segment, const std::string& tags) {
  const bool whole = segment.store == buckets_.store || buckets_.store == Store::Samples;
  const std::int64_t width = whole ? buckets_.width : Unit(buckets_.store);
  std::string statement = kHead;
  if (segment.store == Store::Samples) {
    statement += whole ? kSamples : kMinutesOfSamples;
  } else {
    statement += kFromAggregate;
    statement += segment.store == Store::Minutes ? "datalog_1m" : "datalog_1h";
    statement += kAggregateTail;
  }
  const Result rows =
      link_.Run(statement, {tags, std::to_string(segment.range.begin), std::to_string(segment.range.end),
                            std::to_string(width), std::to_string(buckets_.origin)});
  for (int row = 0; row < rows.size(); ++row) {
    TagSum& tag = tags_[std::string(rows.Text(row, 0))];
    const std::int64_t begin = rows.Integer(row, 1);
    Sum& bucket = tag.buckets[buckets_.origin + Floor(begin - buckets_.origin, buckets_.width)];
    tag.rows += rows.Integer(row, 2);
    tag.samplesStored = tag.samplesStored && segment.samplesStored;
    if (rows.Integer(row, 3) == 0) continue;
    (whole ? bucket.mean : tag.units[begin]).Add(rows.Integer(row, 3), rows.Number(row, 4));
    bucket.min = std::min(bucket.min, rows.Number(row, 5));
    bucket.max = std::max(bucket.max, rows.Number(row, 6));
  }
}

// Each minute or hour counts the same.
void TrendReader::AddUnits() {
  for (auto& [name, tag] : tags_) {
    for (const auto& [begin, unit] : tag.units) {
      Sum& bucket = tag.buckets[buckets_.origin + Floor(begin - buckets_.origin, buckets_.width)];
      bucket.mean.Add(1, unit.sum / static_cast<double>(unit.values));
    }
  }
}

// If the rows of a tag fit, its samples are read as well. A row of an aggregate does not say how many samples
// it has, so one sample more than fits is requested.
void TrendReader::ReadRaw(const std::vector<std::string>& tags) {
  const std::int64_t most = static_cast<std::int64_t>(tags.size()) * most_ + 1;
  const Result rows = link_.Run(kRawSamples, {ArrayLiteral(tags), std::to_string(range_.begin),
                                              std::to_string(range_.end), std::to_string(most)});
  // There may be too many: one tag has more than fit, or samples were added since they were counted.
  if (rows.size() == most) return;
  for (int row = 0; row < rows.size(); ++row) {
    const double value = ValueOrNan(rows, row, 2);
    raw_[std::string(rows.Text(row, 0))].push_back(
        {Time(std::chrono::milliseconds(rows.Integer(row, 1))), value, value, value});
  }
  std::erase_if(raw_, [&](const auto& tag) { return tag.second.size() > static_cast<std::size_t>(most_); });
  for (auto& [tag, samples] : raw_) {
    std::sort(samples.begin(), samples.end(),
              [](const TrendBucket& a, const TrendBucket& b) { return a.time < b.time; });
  }
}

void TrendReader::Read() {
  std::vector<std::string> names;
  for (const auto& [name, tag] : tags_) names.push_back(name);
  const std::string array = ArrayLiteral(names);
  std::vector<Store> stores = {buckets_.store};
  // Ranges that the hours do not have yet are cheaper to read as minutes than as samples.
  if (buckets_.store == Store::Hours) stores.push_back(Store::Minutes);
  for (const Segment& segment : Split(coverage_, range_, stores)) ReadSegment(segment, array);
  AddUnits();

  std::erase_if(names, [&](const std::string& name) {
    const TagSum& tag = tags_[name];
    return tag.rows == 0 || tag.rows > most_ || !tag.samplesStored;
  });
  if (names.empty()) return;
  // Rows that are samples have been counted. A row of an aggregate may have any number of samples.
  if (buckets_.store == Store::Samples) return ReadRaw(names);
  for (const std::string& name : names) ReadRaw({name});
}

TagTrend TrendReader::TrendOf(const std::string& name) const {
  TagTrend trend{name, false, {}};
  if (const auto raw = raw_.find(name); raw != raw_.end()) {
    trend.raw = true;
    trend.buckets = raw->second;
    return trend;
  }
  for (const auto& [begin, sum] : tags_.at(name).buckets) {
    TrendBucket& bucket = trend.buckets.emplace_back();
    bucket.time = Time(std::chrono::milliseconds(std::max(begin, range_.begin)));
    if (sum.mean.values == 0) continue;
    bucket.min = sum.min;
    bucket.mean = sum.mean.sum / static_cast<double>(sum.mean.values);
    bucket.max = sum.max;
  }
  return trend;
}

Resolution ResolutionOf(Store store) {
  if (store == Store::Samples) return Resolution::Samples;
  return store == Store::Minutes ? Resolution::Minutes : Resolution::Hours;
}

}  // namespace

Trend ReadTrend(Dbms& dbms, const std::vector<std::string>& tags, Time from, Time to, int buckets) {
  const Range range = {from.time_since_epoch().count(), to.time_since_epoch().count()};
  if (range.Empty()) throw std::invalid_argument("read a trend: the range is empty");
  if (range.begin < kFirstTime || range.end > kLastTime)
    throw std::invalid_argument("read a trend: the range is beyond the times that the server knows");
  if (buckets < 1) throw std::invalid_argument("read a trend: at least one bucket is needed");
  Trend trend;
  if (tags.empty()) return trend;
  TrendReader reader(dbms, tags, range, buckets);
  reader.Read();
  trend.resolution = ResolutionOf(reader.buckets().store);
  trend.width = std::chrono::milliseconds(reader.buckets().width);
  for (const std::string& tag : tags) trend.tags.push_back(reader.TrendOf(tag));
  return trend;
}

}  // namespace historian
