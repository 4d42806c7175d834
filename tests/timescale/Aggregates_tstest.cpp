// Samples over several days, and their aggregates.

#include <SQLAPI.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <map>

#include "TimescaleTest.h"

namespace {

constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::int64_t kStepMs = 20'000;

std::int64_t NowMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
}

// The expected contents of a bucket.
struct Bucket {
  int count = 0;
  double sum = 0, min = INFINITY, max = -INFINITY;

  void Add(double value) {
    ++count;
    sum += value;
    min = std::min(min, value);
    max = std::max(max, value);
  }
};

class Aggregates : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
    // Ten days up to yesterday: three minutes of samples every hour.
    const std::int64_t first = NowMs() / kDayMs * kDayMs - 11 * kDayMs;
    for (std::int64_t hour = 0; hour < 10 * 24; ++hour) {
      for (std::int64_t step = 0; step < 9; ++step) {
        const std::int64_t timeMs = first + hour * 3'600'000 + step * kStepMs;
        samples.push_back({timeMs, L"PUMP", static_cast<double>(hour * 10 + step)});
        samples.push_back({timeMs, L"TANK", 0.25 * static_cast<double>(step) - static_cast<double>(hour)});
      }
    }
    ASSERT_TRUE(dbms->InsertLogData(samples)) << dbms->GetLastError();
  }

  void Compare(const std::string& view, std::int64_t bucketMs) {
    Run("call refresh_continuous_aggregate('" + view + "', null, null)");
    std::map<std::pair<std::int64_t, std::wstring>, Bucket> expected;
    for (const LogSample& sample : samples) {
      expected[{sample.timeMs / bucketMs * bucketMs / 1000, sample.tagName}].Add(sample.value);
    }
    SACommand command(dbms->GetConnection().get());
    const std::wstring name(view.begin(), view.end());
    command.setCommandText(
        (L"select extract(epoch from bucket), tag_name, avg_val, max_val, min_val from " + name).c_str());
    command.Execute();
    std::size_t rows = 0;
    while (command.FetchNext()) {
      ++rows;
      const std::wstring tag(command.Field(2).asString());
      const auto found = expected.find({command.Field(1).asInt64(), tag});
      ASSERT_NE(found, expected.end());
      const Bucket& bucket = found->second;
      EXPECT_NEAR(command.Field(3).asDouble(), bucket.sum / bucket.count, 1e-9);
      EXPECT_EQ(command.Field(4).asDouble(), bucket.max);
      EXPECT_EQ(command.Field(5).asDouble(), bucket.min);
    }
    EXPECT_EQ(rows, expected.size());
  }

  std::shared_ptr<Dbms> dbms;
  std::vector<LogSample> samples;
};

TEST_F(Aggregates, MinutesHoldTheMeansOfTheirSamples) { Compare("datalog_1m", 60'000); }

TEST_F(Aggregates, HoursHoldTheMeansOfTheirSamples) { Compare("datalog_1h", 3'600'000); }

TEST_F(Aggregates, SamplesOfTenDaysLieInTenChunksAndComeBack) {
  EXPECT_EQ(Value("select count(*) from show_chunks('datalog')"), "10");
  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"PUMP", {}}, {L"TANK", {}}};
  ASSERT_TRUE(dbms->GetLogData(0, NowMs() / 1000, data)) << dbms->GetLastError();
  EXPECT_EQ(data[L"PUMP"].size() + data[L"TANK"].size(), samples.size());
  std::int64_t oldest = 0;
  ASSERT_TRUE(dbms->GetOldestLogTime(oldest));
  EXPECT_EQ(oldest, samples.front().timeMs / 1000);
}

TEST_F(Aggregates, OldSamplesDoNotAppearWithoutARefresh) {
  // Since 2.13 an aggregate shows only what was refreshed. Before, it also computed the rest when queried.
  const bool materializedOnly = release() >= Release{2, 13, 0};
  EXPECT_EQ(Value("select count(*) > 0 from datalog_1m"), materializedOnly ? "f" : "t");
}

TEST_F(Aggregates, ARefreshDeletesThoseOfDroppedSamples) {
  Run("call refresh_continuous_aggregate('datalog_1h', null, null)");
  EXPECT_EQ(Value("select count(*) from datalog_1h"), "480");
  Run("select drop_chunks('datalog', to_timestamp(" + std::to_string(samples.front().timeMs / 1000) +
      ") + interval '4 days')");
  EXPECT_EQ(Value("select count(*) from datalog_1h"), "480");
  Run("call refresh_continuous_aggregate('datalog_1h', null, null)");
  EXPECT_EQ(Value("select count(*) from datalog_1h"), "288");
}

}  // namespace
