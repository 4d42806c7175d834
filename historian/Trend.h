#pragma once

// Reading tag history at the resolution of a screen.
//
//   const auto trend = historian::ReadTrend(*dbms, {"PUMP.SPEED"}, from, to, 1000);
//   for (const auto& bucket : trend.tags[0].buckets) Draw(bucket.time, bucket.min, bucket.mean, bucket.max);
//
// The functions use the object's connection, connect if necessary, and start no transaction. They throw
// historian::Error when the server or the connection fails, and std::invalid_argument for arguments that make
// no sense. Tag names are bound and may be any text. A range is half-open: `from` belongs to it, `to` does
// not.

#include <cmath>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <vector>

#include "DbmsAPI/Dbms.h"
#include "historian/Export.h"
#include "historian/Time.h"

namespace historian {

// The samples of a stretch of time. NaN: all of them are without a value (NULL).
struct TrendBucket {
  Time time;  // beginning of the bucket, but not before the range; in a raw trend the sample's time
  double min = std::numeric_limits<double>::quiet_NaN();
  double mean = std::numeric_limits<double>::quiet_NaN();
  double max = std::numeric_limits<double>::quiet_NaN();

  bool HasValue() const { return !std::isnan(mean); }
};

struct TagTrend {
  std::string tag;
  bool raw = false;                  // each bucket is one sample
  std::vector<TrendBucket> buckets;  // in time order; none where there are no samples
};

// What the mean of a bucket is computed from.
enum class Resolution {
  Samples,  // its samples
  Minutes,  // the means of its minutes: each minute that has values counts the same
  Hours     // the means of its hours; an hour that datalog_1h lacks is the mean of its minutes
};

struct Trend {
  Resolution resolution = Resolution::Samples;
  std::chrono::milliseconds width{0};  // of a bucket
  std::vector<TagTrend> tags;          // in the order of the request
};

// Reads tags between two instants into at most `buckets` buckets per tag, all of the same width. A tag with
// no more samples than that is returned sample by sample, with its value as min, mean and max.
//
// Buckets of a minute or more are read from datalog_1m, those of an hour or more from datalog_1h, where these
// are up to date. Elsewhere (the newest part, ranges with late samples, ranges that were never refreshed)
// hours are computed from minutes, and minutes from samples. Minimum and maximum are those of the samples.
// Where retention has dropped the samples, the aggregates are used as they are, even if a bucket is shorter
// than a minute or an hour; a minute or an hour then counts to the bucket in which it begins.
//
// Without TimescaleDB everything comes from the samples.
HISTORIAN_EXPORT Trend ReadTrend(Dbms& dbms, const std::vector<std::string>& tags, Time from, Time to,
                                 int buckets);

struct TagSample {
  std::string tag;
  Time time;
  double value = std::numeric_limits<double>::quiet_NaN();  // NaN: stored without a value
};

// The last sample of each tag before an instant, or of all time. A tag without one is left out; the order is
// that of `tags`.
HISTORIAN_EXPORT std::vector<TagSample> ReadLastSamples(Dbms& dbms, const std::vector<std::string>& tags,
                                                        std::optional<Time> before = {});

struct TagInfo {
  std::string name;
  Time first, last;                     // of its samples, or where their hours or minutes begin
  std::optional<std::int64_t> samples;  // when they were counted
};

// The tags that have samples, or hours in datalog_1h whose samples retention has dropped; sorted by name.
// With TimescaleDB the times come from the aggregates where these are up to date, and are then exact to the
// hour. Without it the whole table is read, unless it has an index that begins with the tag name. Counting
// reads every sample that is not in a compressed chunk.
HISTORIAN_EXPORT std::vector<TagInfo> ReadTags(Dbms& dbms, bool countSamples = false);

}  // namespace historian
