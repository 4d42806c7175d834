// Trends of plain PostgreSQL: everything comes from the samples.

#include "historian/Trend.h"

#include <cfloat>
#include <random>

#include "historian/HistorianTest.h"
#include "historian/TrendReference.h"

namespace historian {
namespace {

using std::chrono::milliseconds;

constexpr std::int64_t kStart = 1'700'000'000'000;

Time At(std::int64_t offset) { return Time(milliseconds(kStart + offset)); }

class TrendTest : public HistorianTest {
 protected:
  void Store(const std::wstring& tag, const std::vector<std::pair<std::int64_t, double>>& values) {
    std::vector<LogSample> samples;
    for (const auto& [offset, value] : values) samples.push_back({kStart + offset, tag, value});
    ASSERT_TRUE(dbms->InsertLogData(samples)) << dbms->GetLastError();
  }

  std::int64_t Random(std::int64_t below) { return static_cast<std::int64_t>(random()) % below; }

  // Random bursts, gaps of minutes, one value in ten missing.
  void StoreRandomTags(int tags, int samples) {
    for (int tag = 0; tag < tags; ++tag) {
      std::vector<std::pair<std::int64_t, double>> values;
      std::int64_t time = 0;
      for (int i = 0; i < samples; ++i) {
        time += random() % 20 == 0 ? Random(600'000) : 1 + Random(2000);
        values.emplace_back(
            time, random() % 10 == 0 ? DBL_MAX : static_cast<double>(random() % 100'000) / 8 - 5000);
      }
      Store(L"T" + std::to_wstring(tag), values);
    }
  }

  Reference reference{[this](const std::string& query) { return Rows(query); }};
  std::mt19937 random{20231114};
};

TEST_F(TrendTest, EqualsPlainSqlForRandomTagsRangesAndBuckets) {
  StoreRandomTags(4, 2000);
  const std::vector<std::string> tags = {"T2", "T0", "unknown", "T3"};
  const std::int64_t length = 2000 * 16'000;
  int raw = 0;
  for (int i = 0; i < 40; ++i) {
    std::int64_t from = Random(length * 5 / 4) - length / 8;
    std::int64_t to = Random(length * 5 / 4) - length / 8;
    if (from == to) ++to;
    if (from > to) std::swap(from, to);
    const int most = 1 + static_cast<int>(random() % (i % 2 == 0 ? 50 : 3000));
    const Trend trend = ReadTrend(*dbms, tags, At(from), At(to), most);
    EXPECT_EQ(trend.resolution, Resolution::Samples);
    raw += reference.Check(trend, tags, At(from), At(to), most);
  }
  EXPECT_GT(raw, 10) << "the ranges are to be of both kinds";
  EXPECT_LT(raw, 110) << "the ranges are to be of both kinds";
}

TEST_F(TrendTest, TheRangeIsHalfOpen) {
  Store(L"A", {{0, 1}, {500, 2}, {1000, 3}});
  const Trend trend = ReadTrend(*dbms, {"A"}, At(0), At(1000), 10);
  ASSERT_EQ(trend.tags.size(), 1u);
  EXPECT_TRUE(trend.tags[0].raw);
  ASSERT_EQ(trend.tags[0].buckets.size(), 2u);
  EXPECT_EQ(trend.tags[0].buckets[0].time, At(0));
  EXPECT_EQ(trend.tags[0].buckets[1].time, At(500));
}

TEST_F(TrendTest, ABucketHoldsMinimumMeanAndMaximum) {
  Store(L"A", {{0, 4}, {10, 1}, {20, 7}, {100, DBL_MAX}, {110, DBL_MAX}, {250, 5}, {260, DBL_MAX}});
  const Trend trend = ReadTrend(*dbms, {"A"}, At(0), At(300), 3);
  EXPECT_EQ(trend.width, milliseconds(100));
  const auto& buckets = trend.tags[0].buckets;
  ASSERT_EQ(buckets.size(), 3u);
  EXPECT_FALSE(trend.tags[0].raw);
  EXPECT_EQ(buckets[0].min, 1);
  EXPECT_EQ(buckets[0].mean, 4);
  EXPECT_EQ(buckets[0].max, 7);
  EXPECT_EQ(buckets[1].time, At(100));
  EXPECT_FALSE(buckets[1].HasValue());
  EXPECT_EQ(buckets[2].mean, 5);
}

TEST_F(TrendTest, AGapHasNoBuckets) {
  Store(L"A", {{0, 1}, {1, 1}, {2, 1}, {900, 2}});
  const Trend trend = ReadTrend(*dbms, {"A"}, At(0), At(1000), 2);
  ASSERT_EQ(trend.tags[0].buckets.size(), 2u);
  EXPECT_EQ(trend.tags[0].buckets[1].time, At(500));
  EXPECT_TRUE(ReadTrend(*dbms, {"A"}, At(-1000), At(0), 2).tags[0].buckets.empty());
  EXPECT_TRUE(ReadTrend(*dbms, {"A"}, At(901), At(2000), 2).tags[0].buckets.empty());
}

TEST_F(TrendTest, ATagOfOneSampleIsThatSample) {
  Store(L"A", {{123, 0.1}});
  const Trend trend = ReadTrend(*dbms, {"A"}, At(-1'000'000'000), At(1'000'000'000), 1);
  ASSERT_EQ(trend.tags[0].buckets.size(), 1u);
  EXPECT_TRUE(trend.tags[0].raw);
  EXPECT_EQ(trend.tags[0].buckets[0].time, At(123));
  EXPECT_EQ(trend.tags[0].buckets[0].min, 0.1);
  EXPECT_EQ(trend.tags[0].buckets[0].max, 0.1);
}

TEST_F(TrendTest, AnyTextIsATagName) {
  const std::vector<std::pair<std::wstring, std::string>> names = {{L"it's", "it's"},
                                                                   {L"100 %", "100 %"},
                                                                   {L"a\"b\\c{d},e", "a\"b\\c{d},e"},
                                                                   {L"\U0001F321 °C", "\U0001F321 °C"},
                                                                   {L" $1 :1 null ", " $1 :1 null "},
                                                                   {L"null", "null"},
                                                                   {L"line\nfeed\ttab", "line\nfeed\ttab"}};
  std::vector<std::string> tags;
  for (const auto& [wide, narrow] : names) {
    Store(wide, {{0, static_cast<double>(tags.size())}, {1, 50}, {2, 60}});
    tags.push_back(narrow);
  }
  for (const int most : {1, 3}) {
    const Trend trend = ReadTrend(*dbms, tags, At(0), At(3), most);
    for (std::size_t i = 0; i < tags.size(); ++i) {
      ASSERT_EQ(trend.tags[i].buckets.size(), static_cast<std::size_t>(most)) << tags[i];
      EXPECT_EQ(trend.tags[i].tag, tags[i]);
      EXPECT_EQ(trend.tags[i].buckets[0].min, static_cast<double>(i));
    }
  }
  const auto last = ReadLastSamples(*dbms, tags);
  ASSERT_EQ(last.size(), tags.size());
  for (std::size_t i = 0; i < tags.size(); ++i) EXPECT_EQ(last[i].tag, tags[i]);
  EXPECT_EQ(ReadTags(*dbms).size(), tags.size());
}

TEST_F(TrendTest, ATagAskedForTwiceComesTwice) {
  Store(L"A", {{0, 1}});
  const Trend trend = ReadTrend(*dbms, {"A", "B", "A"}, At(0), At(1), 5);
  ASSERT_EQ(trend.tags.size(), 3u);
  EXPECT_EQ(trend.tags[0].buckets.size(), 1u);
  EXPECT_TRUE(trend.tags[1].buckets.empty());
  EXPECT_EQ(trend.tags[2].buckets.size(), 1u);
}

TEST_F(TrendTest, RefusesInvalidArguments) {
  EXPECT_THROW(ReadTrend(*dbms, {"A"}, At(0), At(0), 5), std::invalid_argument);
  EXPECT_THROW(ReadTrend(*dbms, {"A"}, At(1), At(0), 5), std::invalid_argument);
  EXPECT_THROW(ReadTrend(*dbms, {"A"}, At(0), At(1), 0), std::invalid_argument);
  EXPECT_THROW(ReadTrend(*dbms, {"A"}, Time::min(), Time::max(), 5), std::invalid_argument);
  EXPECT_THROW(ReadTrend(*dbms, {std::string("A\0B", 3)}, At(0), At(1), 5), std::invalid_argument);
  EXPECT_TRUE(ReadTrend(*dbms, {}, At(0), At(1), 5).tags.empty());
}

TEST_F(TrendTest, AMissingTableIsAnError) {
  Run("drop table datalog");
  EXPECT_EQ(Failure([&] { ReadTrend(*dbms, {"A"}, At(0), At(1), 5); }).SqlState(), "42P01");
  EXPECT_EQ(Failure([&] { ReadTags(*dbms); }).SqlState(), "42P01");
  EXPECT_EQ(Failure([&] { ReadLastSamples(*dbms, {"A"}); }).SqlState(), "42P01");
}

TEST_F(TrendTest, LastSamplesAreThoseBeforeTheInstant) {
  StoreRandomTags(3, 500);
  Store(L"old", {{-40'000'000'000, 7}, {-30'000'000'000, DBL_MAX}});
  const std::vector<std::string> tags = {"T1", "old", "unknown", "T0", "T2"};
  const auto check = [&](std::optional<Time> before, const std::string& condition) {
    std::vector<std::string> expected;
    for (const std::string& tag : tags) {
      for (
          const std::string& row : Rows(
              "select floor(extract(epoch from time) * 1000)::bigint, value from datalog where tag_name = '" +
              tag + "'" + condition + " order by time desc limit 1"))
        expected.push_back(tag + "|" + row);
    }
    std::vector<std::string> found;
    for (const TagSample& sample : ReadLastSamples(*dbms, tags, before)) {
      std::string value = "\\N";
      if (!std::isnan(sample.value))
        value = Rows("select " + std::to_string(sample.value) + "::float8").front();
      found.push_back(sample.tag + "|" + std::to_string(Reference::Milliseconds(sample.time)) + "|" + value);
    }
    EXPECT_EQ(found, expected) << condition;
  };
  check({}, "");
  for (const std::int64_t offset : std::initializer_list<std::int64_t>{
           -50'000'000'000, -30'000'000'000, -29'999'999'999, 1, 300'000, 7'777'777}) {
    check(At(offset), " and time < to_timestamp(" + std::to_string(kStart + offset) + " / 1000.0)");
  }
}

TEST_F(TrendTest, TagsAreListedWithAndWithoutAnIndexOfTheirNames) {
  StoreRandomTags(3, 300);
  Store(L"one", {{5, 1}});
  const auto expected = Rows(
      "select tag_name, floor(extract(epoch from min(time)) * 1000)::bigint, "
      "floor(extract(epoch from max(time)) * 1000)::bigint, count(*) from datalog group by 1 order by 1");
  const auto listed = [&](bool count) {
    std::vector<std::string> lines;
    for (const TagInfo& tag : ReadTags(*dbms, count)) {
      EXPECT_EQ(tag.samples.has_value(), count);
      lines.push_back(tag.name + "|" + std::to_string(Reference::Milliseconds(tag.first)) + "|" +
                      std::to_string(Reference::Milliseconds(tag.last)) +
                      (count ? "|" + std::to_string(*tag.samples) : ""));
    }
    return lines;
  };
  EXPECT_EQ(listed(true), expected);
  Run("create index on datalog (tag_name, time)");
  EXPECT_EQ(listed(true), expected);
  EXPECT_EQ(listed(false).size(), expected.size());
}

TEST_F(TrendTest, AnEmptyTableHasNoTags) {
  EXPECT_TRUE(ReadTags(*dbms, true).empty());
  EXPECT_TRUE(ReadLastSamples(*dbms, {"A"}).empty());
  EXPECT_TRUE(ReadTrend(*dbms, {"A"}, At(0), At(1), 5).tags[0].buckets.empty());
  Run("create index on datalog (tag_name, time)");
  EXPECT_TRUE(ReadTags(*dbms).empty());
}

}  // namespace
}  // namespace historian
