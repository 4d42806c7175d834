#pragma once

#include <gtest/gtest.h>

#include <cstdlib>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "historian/Trend.h"

namespace historian {

// Computes the buckets of a trend by plain SQL over datalog.
struct Reference {
  std::function<std::vector<std::string>(const std::string&)> rows;  // runs a query

  // \N for NULL. An hour has the mean of its samples or that of its minutes; meanLow is made of the lower
  // ones.
  struct Values {
    std::string min, meanLow, meanHigh, max;
  };

  static std::int64_t Milliseconds(Time time) { return time.time_since_epoch().count(); }

  static std::string Literal(const std::string& text) {
    std::string literal = "'";
    for (const char character : text) literal += character == '\'' ? "''" : std::string(1, character);
    return literal + "'";
  }

  static std::vector<std::string> Fields(const std::string& line) {
    std::vector<std::string> fields(1);
    for (const char character : line) {
      if (character == '|') {
        fields.emplace_back();
      } else {
        fields.back() += character;
      }
    }
    return fields;
  }

  static std::string Where(const std::string& tag, Time from, Time to) {
    return " from datalog where tag_name = " + Literal(tag) + " and time >= to_timestamp(" +
           std::to_string(Milliseconds(from)) + " / 1000.0) and time < to_timestamp(" +
           std::to_string(Milliseconds(to)) + " / 1000.0)";
  }

  // Buckets by their beginning. The means are those of the means of the units; a unit of 1 ms is a sample.
  std::map<std::int64_t, Values> Buckets(const std::string& tag, Time from, Time to, std::int64_t width,
                                         std::int64_t unit) const {
    const std::int64_t begin = Milliseconds(from);
    const std::int64_t origin = (begin - ((begin % unit) + unit) % unit);
    const std::string bucket = "(ms - " + std::to_string(origin) + ") / " + std::to_string(width);
    std::map<std::int64_t, Values> buckets;
    const std::string query =
        "with sample as (select floor(extract(epoch from time) * 1000)::bigint as ms, value" +
        Where(tag, from, to) + "), minute as (select " + bucket + " as bucket, (ms - " +
        std::to_string(origin) + ") / " + std::to_string(unit) +
        " as unit, ms / 60000 as minute, min(value) as low, avg(value) as mean, max(value) as high, "
        "sum(value) as total, count(value) as number from sample group by 1, 2, 3), "
        "unit as (select bucket, unit, min(low) as low, sum(total) / nullif(sum(number), 0) as of_samples, "
        "avg(mean) as of_minutes, max(high) as high from minute group by 1, 2) "
        "select bucket, min(low), avg(least(of_samples, of_minutes)), avg(greatest(of_samples, of_minutes)), "
        "max(high) from unit group by bucket order by bucket";
    for (const std::string& row : rows(query)) {
      const auto fields = Fields(row);
      const std::int64_t start = origin + std::stoll(fields[0]) * width;
      buckets[std::max(start, begin)] = {fields[1], fields[2], fields[3], fields[4]};
    }
    return buckets;
  }

  static void Expect(const TrendBucket& bucket, const Values& values) {
    if (values.meanLow == "\\N") {
      EXPECT_FALSE(bucket.HasValue());
      return;
    }
    const double low = std::atof(values.meanLow.c_str()), high = std::atof(values.meanHigh.c_str());
    EXPECT_EQ(bucket.min, std::atof(values.min.c_str()));
    EXPECT_EQ(bucket.max, std::atof(values.max.c_str()));
    EXPECT_GE(bucket.mean, low - 1e-9 * std::abs(low));
    EXPECT_LE(bucket.mean, high + 1e-9 * std::abs(high));
  }

  void ExpectSamples(const TagTrend& tag, Time from, Time to) const {
    const auto expected = rows("select floor(extract(epoch from time) * 1000)::bigint, value" +
                               Where(tag.tag, from, to) + " order by time");
    ASSERT_EQ(tag.buckets.size(), expected.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
      const auto fields = Fields(expected[i]);
      EXPECT_EQ(Milliseconds(tag.buckets[i].time), std::stoll(fields[0]));
      Expect(tag.buckets[i], {fields[1], fields[1], fields[1], fields[1]});
    }
  }

  // Checks everything about a trend for these arguments. Returns the number of tags that were returned sample
  // by sample.
  int Check(const Trend& trend, const std::vector<std::string>& tags, Time from, Time to, int most) const {
    int raw = 0;
    EXPECT_EQ(trend.tags.size(), tags.size());
    const std::int64_t unit = trend.resolution == Resolution::Hours     ? 3'600'000
                              : trend.resolution == Resolution::Minutes ? 60'000
                                                                        : 1;
    for (std::size_t i = 0; i < trend.tags.size(); ++i) {
      SCOPED_TRACE(tags[i] + " from " + std::to_string(Milliseconds(from)) + " to " +
                   std::to_string(Milliseconds(to)) + " in " + std::to_string(most));
      const TagTrend& tag = trend.tags[i];
      EXPECT_EQ(tag.tag, tags[i]);
      EXPECT_LE(tag.buckets.size(), static_cast<std::size_t>(most));
      const int samples = std::stoi(rows("select count(*)" + Where(tag.tag, from, to)).front());
      EXPECT_EQ(tag.raw, samples > 0 && samples <= most);
      raw += tag.raw;
      if (tag.raw) {
        ExpectSamples(tag, from, to);
        continue;
      }
      const auto expected = Buckets(tag.tag, from, to, trend.width.count(), unit);
      EXPECT_EQ(tag.buckets.size(), expected.size());
      for (const TrendBucket& bucket : tag.buckets) {
        const auto found = expected.find(Milliseconds(bucket.time));
        if (found == expected.end()) {
          ADD_FAILURE() << "no bucket begins at " << Milliseconds(bucket.time);
        } else {
          Expect(bucket, found->second);
        }
      }
    }
    return raw;
  }
};

}  // namespace historian
