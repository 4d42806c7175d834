#include <algorithm>
#include <map>

#include "historian/Coverage.h"
#include "historian/Trend.h"

namespace historian {
namespace {

// Each query returns tags with their first and last time in milliseconds, either of which may be NULL. $1 and
// $2: first instant and the one after the last.
constexpr char kTagsOfSamples[] =
    "select tag_name, floor(extract(epoch from min(time)) * 1000), floor(extract(epoch from max(time)) * 1000) "
    "from datalog where time >= to_timestamp($1::bigint / 1000.0) and time < to_timestamp($2::bigint / 1000.0) "
    "group by tag_name";

// Reads the same index in both directions; TimescaleDB skips from tag to tag.
constexpr char kOldestBucketsHead[] =
    "select distinct on (tag_name) tag_name, extract(epoch from bucket) * 1000, null from ";
constexpr char kOldestBucketsTail[] =
    " where bucket >= to_timestamp($1::bigint / 1000.0) and bucket < to_timestamp($2::bigint / 1000.0) "
    "order by tag_name desc, bucket";
constexpr char kNewestBucketsHead[] =
    "select distinct on (tag_name) tag_name, null, extract(epoch from bucket) * 1000 from ";
constexpr char kNewestBucketsTail[] =
    " where bucket >= to_timestamp($1::bigint / 1000.0) and bucket < to_timestamp($2::bigint / 1000.0) "
    "order by tag_name, bucket desc";

// Whether the table has an index that begins with the tag name.
constexpr char kHasTagIndex[] =
    "select exists (select from pg_index i "
    "join pg_attribute a on a.attrelid = i.indrelid and a.attnum = i.indkey[0] "
    "where i.indrelid = to_regclass('datalog') and a.attname = 'tag_name' and i.indisvalid "
    "and i.indpred is null)";

// Skips from tag to tag in that index.
constexpr char kTagsOfIndex[] =
    "with recursive tag(name) as ((select tag_name from datalog order by tag_name limit 1) union all "
    "select (select tag_name from datalog where tag_name > name order by tag_name limit 1) from tag "
    "where name is not null) "
    "select name, (select floor(extract(epoch from min(time)) * 1000) from datalog where tag_name = name), "
    "(select floor(extract(epoch from max(time)) * 1000) from datalog where tag_name = name) "
    "from tag where name is not null";

constexpr char kCounts[] = "select tag_name, count(*) from datalog group by tag_name";

using TagsByName = std::map<std::string, TagInfo>;

void Take(const Result& rows, TagsByName& tags) {
  for (int row = 0; row < rows.size(); ++row) {
    const auto time = [&](int column) {
      return Time(
          std::chrono::milliseconds(rows.Integer(row, rows.IsNull(row, column) ? 3 - column : column)));
    };
    const std::string name(rows.Text(row, 0));
    const auto [at, added] = tags.try_emplace(name, TagInfo{name, time(1), time(2), {}});
    if (added) continue;
    at->second.first = std::min(at->second.first, time(1));
    at->second.last = std::max(at->second.last, time(2));
  }
}

void ReadSegment(Link& link, const Segment& segment, TagsByName& tags) {
  const std::vector<Link::Value> range = {std::to_string(segment.range.begin),
                                          std::to_string(segment.range.end)};
  if (segment.store == Store::Samples) return Take(link.Run(kTagsOfSamples, range), tags);
  const std::string view = segment.store == Store::Minutes ? "datalog_1m" : "datalog_1h";
  Take(link.Run(kOldestBucketsHead + view + kOldestBucketsTail, range), tags);
  Take(link.Run(kNewestBucketsHead + view + kNewestBucketsTail, range), tags);
}

void Count(Link& link, TagsByName& tags) {
  for (auto& [name, tag] : tags) tag.samples = 0;
  const Result rows = link.Run(kCounts);
  for (int row = 0; row < rows.size(); ++row) {
    const auto tag = tags.find(std::string(rows.Text(row, 0)));
    if (tag != tags.end()) tag->second.samples = rows.Integer(row, 1);
  }
}

}  // namespace

std::vector<TagInfo> ReadTags(Dbms& dbms, bool countSamples) {
  Link link(dbms, "read the tags");
  const Coverage coverage = ReadCoverage(link);
  TagsByName tags;
  if (coverage.samples == Ranges::All() && link.Run(kHasTagIndex).Bool(0, 0)) {
    Take(link.Run(kTagsOfIndex), tags);
  } else {
    for (const Segment& segment : Split(coverage, Extent(link, coverage), {Store::Hours, Store::Minutes})) {
      ReadSegment(link, segment, tags);
    }
  }
  if (countSamples) Count(link, tags);
  std::vector<TagInfo> list;
  for (auto& [name, tag] : tags) list.push_back(std::move(tag));
  return list;
}

}  // namespace historian
