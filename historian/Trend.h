#pragma once

// Reading tag history at the resolution of a screen.
//
//   const auto trend = historian::ReadTrend(*dbms, {"PUMP.SPEED"}, from, to, 1000);
//   for (const auto& bucket : trend.tags[0].buckets) Draw(bucket.time, bucket.min, bucket.mean, bucket.max);
//
// The functions use the object's connection, connect it when it is not, and start no transaction. They throw
// historian::Error when the server or the way to it fails them, std::invalid_argument for arguments that make
// no sense. Tag names are bound: any text is a name. A range is half-open: `from` belongs to it, `to` does
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

// What was stored in a stretch of time. NaN: only samples without a value (NULL) were stored.
struct TrendBucket {
  Time time;  // begin of the bucket, but not before the range; the sample's own time in a raw trend
  double min = std::numeric_limits<double>::quiet_NaN();
  double mean = std::numeric_limits<double>::quiet_NaN();
  double max = std::numeric_limits<double>::quiet_NaN();

  bool HasValue() const { return !std::isnan(mean); }
};

struct TagTrend {
  std::string tag;
  bool raw = false;                  // each bucket is one sample
  std::vector<TrendBucket> buckets;  // in time order; a stretch without samples has none
};

// How the mean of a bucket comes about.
enum class Resolution {
  Samples,  // of its samples
  Minutes,  // of the means of its minutes: each minute that has values counts the same
  Hours     // of the means of its hours; an hour that datalog_1h does not hold is the mean of its minutes
};

struct Trend {
  Resolution resolution = Resolution::Samples;
  std::chrono::milliseconds width{0};  // of a bucket
  std::vector<TagTrend> tags;          // in the order asked for
};

// Reads the tags between two instants into at most so many buckets a tag, all of the same width. A tag with
// no more samples than that comes as its samples, min, mean and max being the value.
//
// Buckets of a minute or more are read from datalog_1m, those of an hour or more from datalog_1h, where these
// are up to date; where they are not (the newest part, after late samples, where nothing was ever refreshed)
// hours are put together of minutes, and minutes of samples. Minimum and maximum are those of the samples.
// Where retention has dropped the samples the aggregates are shown as they are, also when a bucket is shorter
// than a minute or an hour; the row of a minute or an hour then lies in the bucket in which it begins.
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
// that of the tags asked for.
HISTORIAN_EXPORT std::vector<TagSample> ReadLastSamples(Dbms& dbms, const std::vector<std::string>& tags,
                                                        std::optional<Time> before = {});

struct TagInfo {
  std::string name;
  Time first,
      last;  // of its samples; `first` and `last` may be the begin of the hour or minute of that sample
  std::optional<std::int64_t> samples;  // when they were counted
};

// The tags that have samples, or hours in datalog_1h whose samples retention has dropped; by name. With
// TimescaleDB the times come from the aggregates as far as these are up to date, to the hour. Without it the
// whole table is read, unless it has an index that begins with the tag name. Counting reads every sample that
// is not in a compressed chunk.
HISTORIAN_EXPORT std::vector<TagInfo> ReadTags(Dbms& dbms, bool countSamples = false);

}  // namespace historian
