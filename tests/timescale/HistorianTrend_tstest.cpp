// Trends over samples and continuous aggregates of a part of them.

#include <cfloat>
#include <random>

#include "TimescaleTest.h"
#include "historian/Trend.h"
#include "historian/TrendReference.h"

namespace {

using historian::ReadLastSamples;
using historian::ReadTags;
using historian::ReadTrend;
using historian::Resolution;
using historian::Time;
using historian::Trend;
using std::chrono::milliseconds;

constexpr std::int64_t kMinute = 60'000, kHour = 60 * kMinute, kDay = 24 * kHour;
constexpr std::int64_t kMidnight = 19'675 * kDay;  // 2023-11-14
constexpr std::int64_t kStart = kMidnight + 20 * kHour;
constexpr std::int64_t kLength = 8 * kHour;  // across midnight, so in two chunks
constexpr std::int64_t kMinutesEnd = kStart + 5 * kHour + 7 * kMinute;
constexpr std::int64_t kHoursEnd = kStart + 4 * kHour;

Time At(std::int64_t ms) { return Time(milliseconds(ms)); }

class HistorianTrend : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
    Store(kStart, kLength, 7'000);
    Refresh("datalog_1m", kStart, kMinutesEnd);
    Refresh("datalog_1h", kStart, kHoursEnd);
  }

  std::int64_t Random(std::int64_t below) { return static_cast<std::int64_t>(random()) % below; }

  // Samples about `step` apart, with gaps and missing values.
  void Store(std::int64_t begin, std::int64_t length, std::int64_t step) {
    std::vector<LogSample> samples;
    for (const wchar_t* tag : {L"A", L"it's B"}) {
      for (std::int64_t time = begin; time < begin + length;) {
        const double value = random() % 12 == 0 ? DBL_MAX : static_cast<double>(random() % 100'000) / 8;
        samples.push_back({time, tag, value});
        time += random() % 300 == 0 ? 20 * kMinute : 1 + Random(2 * step);
      }
    }
    samples.push_back({begin + length / 2, L"one", 0.5});
    ASSERT_TRUE(dbms->InsertLogData(samples)) << dbms->GetLastError();
  }

  static std::string Instant(std::int64_t ms) { return "to_timestamp(" + std::to_string(ms / 1000) + ")"; }

  void Refresh(const std::string& view, std::int64_t from, std::int64_t to) {
    Run("call refresh_continuous_aggregate('" + view + "', " + Instant(from) + ", " + Instant(to) + ")");
  }

  void Check(std::int64_t from, std::int64_t to, int most) {
    reference.Check(ReadTrend(*dbms, tags, At(from), At(to), most), tags, At(from), At(to), most);
  }

  // Ranges and numbers of buckets that lead to every resolution.
  void CheckAtRandom(int times) {
    for (int i = 0; i < times; ++i) {
      std::int64_t from = kStart - kHour + Random(kLength + 2 * kHour);
      std::int64_t to = kStart - kHour + Random(kLength + 2 * kHour);
      if (from > to) std::swap(from, to);
      Check(from, to + 1, 1 + static_cast<int>(random() % (i % 3 == 0 ? 4 : i % 3 == 1 ? 100 : 1500)));
    }
  }

  // A role named after this database, because all databases of a server share their roles.
  std::string Reader() { return Value("select current_database() || '_reader'"); }

  // The table that an aggregate keeps its rows in.
  std::string Materialization(const std::string& view) {
    return Value(
        "select format('%I.%I', materialization_hypertable_schema, materialization_hypertable_name) "
        "from timescaledb_information.continuous_aggregates where view_name = '" +
        view + "'");
  }

  std::shared_ptr<Dbms> dbms;
  std::mt19937 random{20231114};
  const std::vector<std::string> tags = {"A", "it's B", "one", "unknown"};
  historian::Reference reference{[this](const std::string& query) { return Rows(query); }};
};

TEST_F(HistorianTrend, EqualsPlainSqlAtRandom) { CheckAtRandom(40); }

TEST_F(HistorianTrend, HasNoSeamAroundTheWatermarks) {
  for (const std::int64_t watermark : {kMinutesEnd, kHoursEnd}) {
    for (const std::int64_t offset : {-kHour, -kMinute - 1, -kMinute, -1l, 0l, 1l, kMinute, kMinute + 1}) {
      const std::int64_t instant = watermark + offset;
      Check(instant - 3 * kHour, instant, 3);
      Check(instant - 3 * kHour, instant, 60);
      Check(instant, instant + 2 * kHour, 2);
      Check(instant - 90 * kMinute, instant + 90 * kMinute, 100);
    }
  }
}

TEST_F(HistorianTrend, LateSamplesAreSeenBeforeTheyAreRefreshed) {
  Store(kStart - 3 * kHour, kLength, 600'000);
  CheckAtRandom(20);
  // A refresh of another range has begun and moved them to its own list.
  Refresh("datalog_1m", kStart - kHour, kStart + kHour);
  Refresh("datalog_1h", kStart - 2 * kHour, kStart);
  CheckAtRandom(20);
}

TEST_F(HistorianTrend, DeletedSamplesAreGoneBeforeARefresh) {
  Run("delete from datalog where time >= " + Instant(kStart + kHour) + " and time < " +
      Instant(kStart + 3 * kHour));
  CheckAtRandom(20);
}

TEST_F(HistorianTrend, CompressedChunksGiveTheSame) {
  Run("select compress_chunk(chunk) from show_chunks('datalog') chunk");
  CheckAtRandom(20);
}

TEST_F(HistorianTrend, WhatIsUpToDateComesFromTheAggregates) {
  Run("update " + Materialization("datalog_1m") + " set min_val = -1");
  Run("update " + Materialization("datalog_1h") + " set min_val = -60");
  const Trend minutes = ReadTrend(*dbms, {"A"}, At(kStart), At(kStart + kLength), 480);
  EXPECT_EQ(minutes.resolution, Resolution::Minutes);
  EXPECT_EQ(minutes.width, milliseconds(kMinute));
  for (const auto& bucket : minutes.tags[0].buckets) {
    EXPECT_EQ(bucket.min == -1, bucket.HasValue() && bucket.time < At(kMinutesEnd))
        << bucket.time.time_since_epoch().count();
  }
  const Trend hours = ReadTrend(*dbms, {"A"}, At(kStart), At(kStart + kLength), 8);
  EXPECT_EQ(hours.resolution, Resolution::Hours);
  ASSERT_EQ(hours.tags[0].buckets.size(), 8u);
  for (const auto& bucket : hours.tags[0].buckets) EXPECT_EQ(bucket.min == -60, bucket.time < At(kHoursEnd));
}

TEST_F(HistorianTrend, HoursHaveTheMeanOfTheirSamplesAndNewerOnesThatOfTheirMinutes) {
  const Trend trend = ReadTrend(*dbms, {"A"}, At(kStart), At(kStart + kLength), 8);
  ASSERT_EQ(trend.tags[0].buckets.size(), 8u);
  for (const auto& bucket : trend.tags[0].buckets) {
    const std::string where =
        historian::Reference::Where("A", bucket.time, bucket.time + milliseconds(kHour));
    const std::string query = bucket.time < At(kHoursEnd)
                                  ? "select avg(value)" + where
                                  : "select avg(mean) from (select avg(value) as mean" + where +
                                        " group by date_trunc('minute', time)) m";
    const double mean = std::stod(Value(query));
    EXPECT_NEAR(bucket.mean, mean, 1e-9 * mean);
  }
}

TEST_F(HistorianTrend, DroppedSamplesAreShownByTheAggregates) {
  const auto from = At(kMidnight), boundary = At(kMidnight + kDay), to = At(kStart + kLength);
  const auto before = ReadTrend(*dbms, {"A"}, from, to, 28);
  const auto minutes = reference.Buckets("A", At(kStart), At(kStart + kHour), kMinute, kMinute);
  Run("select drop_chunks('datalog', " + Instant(kMidnight + kDay) + ")");
  ASSERT_EQ(Value("select count(*) from datalog where time < " + Instant(kMidnight + kDay)), "0");

  // The same hours as before, across the time of the first sample too.
  const auto after = ReadTrend(*dbms, {"A"}, from, to, 28);
  ASSERT_EQ(before.tags[0].buckets.size(), 8u);
  ASSERT_EQ(after.tags[0].buckets.size(), 8u);
  for (std::size_t i = 0; i < 8; ++i) {
    EXPECT_EQ(after.tags[0].buckets[i].min, before.tags[0].buckets[i].min);
    EXPECT_EQ(after.tags[0].buckets[i].max, before.tags[0].buckets[i].max);
    EXPECT_NEAR(after.tags[0].buckets[i].mean, before.tags[0].buckets[i].mean, 1e-6);
  }
  // Buckets of seconds hold the minutes that begin in them.
  const auto seconds = ReadTrend(*dbms, {"A"}, At(kStart), At(kStart + kHour), 3600);
  ASSERT_EQ(seconds.tags[0].buckets.size(), minutes.size());
  for (const auto& bucket : seconds.tags[0].buckets)
    historian::Reference::Expect(bucket, minutes.at(bucket.time.time_since_epoch().count()));
  EXPECT_FALSE(seconds.tags[0].raw);
  // Nothing has changed in ranges with samples.
  Check(boundary.time_since_epoch().count(), kStart + kLength, 1000);
}

TEST_F(HistorianTrend, LastSamplesAreFoundWhereverTheyAre) {
  ASSERT_TRUE(dbms->InsertLogData({{kStart - 40 * kDay, L"old", 1}, {kStart + kHour, L"stopped", 2}}));
  Refresh("datalog_1m", kStart - 50 * kDay, kMinutesEnd);
  ASSERT_TRUE(dbms->InsertLogData({{kStart - 30 * kDay, L"late", 3}, {kHoursEnd - 1, L"stopped", DBL_MAX}}));
  const std::vector<std::string> wanted = {"late", "A", "old", "it's B", "stopped", "unknown", "one"};
  for (const std::int64_t before :
       {kStart + kLength + kDay, kMinutesEnd + 1, kMinutesEnd, kHoursEnd, kHoursEnd - 1, kStart + kHour,
        kStart, kStart - 39 * kDay, kStart - 40 * kDay}) {
    SCOPED_TRACE(before);
    std::vector<std::string> expected, found;
    for (const std::string& tag : wanted) {
      for (const std::string& row :
           Rows("select floor(extract(epoch from time) * 1000)::bigint" +
                historian::Reference::Where(tag, At(0), At(before)) + " order by time desc limit 1"))
        expected.push_back(tag + row);
    }
    for (const auto& sample : ReadLastSamples(*dbms, wanted, At(before)))
      found.push_back(sample.tag + std::to_string(sample.time.time_since_epoch().count()));
    EXPECT_EQ(found, expected);
  }
}

TEST_F(HistorianTrend, TagsAreListedToTheHour) {
  ASSERT_TRUE(dbms->InsertLogData({{kStart - 30 * kDay, L"late", 3}, {kStart + kHour + 5, L"stopped", 2}}));
  Refresh("datalog_1h", kStart, kHoursEnd);
  const auto listed = ReadTags(*dbms, true);
  const auto rows = Rows(
      "select tag_name, floor(extract(epoch from min(time)) * 1000)::bigint, "
      "floor(extract(epoch from max(time)) * 1000)::bigint, count(*) from datalog group by 1 order by 1");
  ASSERT_EQ(listed.size(), rows.size());
  for (std::size_t i = 0; i < rows.size(); ++i) {
    const auto fields = historian::Reference::Fields(rows[i]);
    const auto& tag = listed[i];
    EXPECT_EQ(tag.name, fields[0]);
    const auto off = [](const std::string& ms, Time time) {
      return std::stoll(ms) - time.time_since_epoch().count();
    };
    EXPECT_GE(off(fields[1], tag.first), 0) << tag.name;
    EXPECT_LT(off(fields[1], tag.first), kHour) << tag.name;
    EXPECT_GE(off(fields[2], tag.last), 0) << tag.name;
    EXPECT_LT(off(fields[2], tag.last), kHour) << tag.name;
    EXPECT_EQ(std::to_string(*tag.samples), fields[3]);
  }
  // For a tag that is still recorded, the last time is exact.
  EXPECT_EQ(
      std::to_string(listed[0].last.time_since_epoch().count()),
      Value("select floor(extract(epoch from max(time)) * 1000)::bigint from datalog where tag_name = 'A'"));
}

TEST_F(HistorianTrend, WithoutASightOfTheCatalogEverythingComesFromSamples) {
  const std::string name = Reader();
  Run("revoke select on all tables in schema _timescaledb_catalog from public");
  Run("create role " + name + " login password 'reader'");
  Run("grant select on datalog, datalog_1m, datalog_1h to " + name);
  const auto own = dbms;
  dbms = Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                       std::wstring(name.begin(), name.end()).c_str(), L"reader");
  CheckAtRandom(10);
  EXPECT_EQ(ReadTrend(*dbms, {"A"}, At(kStart), At(kStart + kLength), 8).resolution, Resolution::Samples);
  dbms = own;
  Run("drop owned by " + name + "; drop role " + name);
}

}  // namespace
