// Old samples loaded into hypertables: compressed chunks, and the aggregates afterwards.

#include "historian/Backfill.h"

#include <chrono>

#include "TimescaleTest.h"
#include "historian/Samples.h"

namespace {

using historian::Backfill;
using historian::BackfillProgress;
using historian::InBatches;

constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::int64_t kStepMs = 1'800'000;

// Samples of some tags every half hour, from `from` days ago to `to` days ago.
std::vector<LogSample> Days(int from, int to, const std::wstring& tag, int tags = 4,
                            std::int64_t offsetMs = 0) {
  using namespace std::chrono;
  const std::int64_t today =
      duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count() / kDayMs * kDayMs;
  std::vector<LogSample> samples;
  for (std::int64_t time = today - from * kDayMs; time < today - to * kDayMs; time += kStepMs) {
    for (int i = 0; i < tags; ++i) {
      samples.push_back(
          {time + offsetMs, tag + std::to_wstring(i), static_cast<double>(time % 1000007) / (i + 3)});
    }
  }
  return samples;
}

class BackfillTimescale : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  }

  historian::BackfillReport Load(const std::vector<LogSample>& samples, const std::string& source = "test") {
    return Backfill({dbms}, source, InBatches(samples, 300));
  }

  void Insert(const std::vector<LogSample>& samples) {
    ASSERT_TRUE(dbms->InsertLogData(samples)) << dbms->GetLastError();
  }

  void CompressAll() { Run("select compress_chunk(c) from show_chunks('datalog') c"); }

  void RefreshAll() {
    Run("call refresh_continuous_aggregate('datalog_1m', null, null)");
    Run("call refresh_continuous_aggregate('datalog_1h', null, null)");
  }

  // Compares datalog with what InsertLogData stores of the same batches.
  void ExpectSameAsInserted(const std::vector<std::vector<LogSample>>& batches) {
    Run("create table loaded as select * from datalog");
    Run("truncate datalog");
    for (const auto& batch : batches) Insert(batch);
    const std::string loaded = "select time, tag_name, float8send(value) from loaded";
    const std::string inserted = "select time, tag_name, float8send(value) from datalog";
    EXPECT_EQ(Value("select count(*) from loaded"), Value("select count(*) from datalog"));
    EXPECT_EQ(Rows("(" + loaded + ") except (" + inserted + ") limit 5"), std::vector<std::string>());
    EXPECT_EQ(Rows("(" + inserted + ") except (" + loaded + ") limit 5"), std::vector<std::string>());
  }

  // Compares the buckets of an aggregate, from an instant on, with those computed from the samples.
  void ExpectAggregate(const std::string& view, const std::string& width, const std::string& where = "true") {
    const std::string kept = "select bucket, tag_name, max_val, min_val, round(avg_val::numeric, 6) from " +
                             view + " where " + where;
    const std::string made =
        "select bucket, tag_name, max_val, min_val, round(avg_val::numeric, 6) from (select "
        "time_bucket('" +
        width +
        "', time) bucket, tag_name, max(value) max_val, min(value) min_val, "
        "avg(value) avg_val from datalog group by 1, 2) made where " +
        where;
    EXPECT_NE(Value("select count(*) from " + view + " where " + where), "0");
    EXPECT_EQ(Rows("(" + kept + ") except (" + made + ") limit 5"), std::vector<std::string>());
    EXPECT_EQ(Rows("(" + made + ") except (" + kept + ") limit 5"), std::vector<std::string>());
  }

  // The chunks, and whether they are completely compressed.
  std::string ChunksCompressed(bool whole) {
    return Value(
        "select count(*) from timescaledb_information.chunks i join _timescaledb_catalog.chunk c on "
        "c.schema_name = i.chunk_schema and c.table_name = i.chunk_name where i.hypertable_name = 'datalog' "
        "and c.status " +
        std::string(whole ? "= 1" : "<> 1"));
  }

  std::shared_ptr<Dbms> dbms;
};

TEST_F(BackfillTimescale, LoadsIntoHypertables) {
  const auto samples = Days(12, 2, L"PUMP");
  const auto report = Load(samples);
  EXPECT_EQ(report.counts.stored, static_cast<std::int64_t>(samples.size()));
  EXPECT_EQ(report.chunksRefreshed, 10);
  EXPECT_EQ(report.chunksCompressed, 0);
  ExpectAggregate("datalog_1m", "1 minute");
  ExpectAggregate("datalog_1h", "1 hour");
  ExpectSameAsInserted({samples});
}

TEST_F(BackfillTimescale, LeavesStoredSamplesInHypertablesAsTheyAre) {
  const auto old = Days(8, 6, L"PUMP");
  auto samples = Days(9, 5, L"PUMP", 5);
  for (LogSample& sample : samples) sample.value += 1;
  Insert(old);
  EXPECT_EQ(Load(samples).counts.duplicates, static_cast<std::int64_t>(old.size()));
  ExpectSameAsInserted({old, samples});
}

TEST_F(BackfillTimescale, LoadsIntoCompressedChunksAndCompressesThemAgain) {
  const auto old = Days(12, 4, L"PUMP");
  Insert(old);
  CompressAll();
  ASSERT_EQ(ChunksCompressed(false), "0");
  auto samples = Days(10, 2, L"PUMP", 6);  // also stored ones, also new chunks
  const auto between = Days(10, 2, L"PUMP", 6, 1234);
  samples.insert(samples.end(), between.begin(), between.end());
  for (LogSample& sample : samples) sample.value += 1;
  const auto report = Load(samples);
  EXPECT_EQ(report.counts.duplicates, 6 * 48 * 4);
  EXPECT_EQ(report.counts.stored, static_cast<std::int64_t>(samples.size()) - 6 * 48 * 4);
  EXPECT_EQ(report.chunksCompressed, 6);
  EXPECT_EQ(ChunksCompressed(true), "8");
  EXPECT_EQ(ChunksCompressed(false), "2");
  ExpectAggregate("datalog_1m", "1 minute", "bucket >= (select min(bucket) from datalog_1m)");
  ExpectSameAsInserted({old, samples});
}

TEST_F(BackfillTimescale, LoadsNextToMoreCompressedSamplesThanAStatementMayDecompressByDefault) {
  const auto old = Days(3, 2, L"PUMP", 2500);
  Insert(old);
  CompressAll();
  auto samples = Days(3, 2, L"PUMP", 2500);
  for (std::size_t i = 0; i < samples.size(); i += 2) samples[i].timeMs += 5;
  const auto report = Backfill({dbms}, "test", InBatches(samples, samples.size()));
  EXPECT_EQ(report.counts.stored, 48 * 1250);
  EXPECT_EQ(report.counts.duplicates, 48 * 1250);
  EXPECT_EQ(ChunksCompressed(false), "0");
}

TEST_F(BackfillTimescale, LeavesAggregatesAloneWhoseSamplesAreGone) {
  Insert(Days(20, 2, L"PUMP"));
  RefreshAll();
  Run("select drop_chunks('datalog', older_than => interval '10 days')");
  const std::string gone =
      " where tag_name like 'PUMP%' and bucket < (select min(time) from datalog where tag_name like 'PUMP%')";
  const std::string minutes = Value("select count(*) from datalog_1m" + gone);
  const std::string hours = Value("select count(*) from datalog_1h" + gone);
  ASSERT_NE(hours, "0");
  const auto report = Load(Days(20, 2, L"TANK"));
  EXPECT_EQ(Value("select count(*) from datalog_1m" + gone), minutes);
  EXPECT_EQ(Value("select count(*) from datalog_1h" + gone), hours);
  ASSERT_TRUE(report.notRefreshedBefore);
  EXPECT_EQ(
      Value("select extract(epoch from min(time))::bigint * 1000 from datalog where tag_name like 'PUMP%'"),
      std::to_string(report.notRefreshedBefore->time_since_epoch().count()));
  const std::string left = "bucket >= (select min(time) from datalog where tag_name like 'PUMP%')";
  ExpectAggregate("datalog_1m", "1 minute", left);
  ExpectAggregate("datalog_1h", "1 hour", left);
}

// The first source has loaded samples where retention had dropped them.
TEST_F(BackfillTimescale, ASecondSourceLeavesThemAloneToo) {
  Insert(Days(20, 2, L"PUMP"));
  RefreshAll();
  ASSERT_TRUE(dbms->CreateLogTable(10));
  Run("select drop_chunks('datalog', older_than => interval '10 days')");
  const std::string gone =
      "select count(*) from datalog_1h where tag_name like 'PUMP%' and bucket < now() - interval '11 days'";
  const std::string hours = Value(gone);
  ASSERT_NE(hours, "0");
  Load(Days(20, 15, L"TANK"), "first");
  Load(Days(20, 15, L"VALVE"), "second");
  EXPECT_EQ(Value(gone), hours);
}

TEST_F(BackfillTimescale, AggregatesSamplesOlderThanTheRetentionWhereNothingIsAggregatedYet) {
  ASSERT_TRUE(dbms->CreateLogTable(5));
  Insert(Days(3, 1, L"PUMP"));
  RefreshAll();
  const auto report = Load(Days(20, 1, L"TANK"));
  EXPECT_FALSE(report.notRefreshedBefore);
  ExpectAggregate("datalog_1m", "1 minute");
  ExpectAggregate("datalog_1h", "1 hour");
}

TEST_F(BackfillTimescale, ARunThatWasStoppedBetweenChunksIsFinishedByTheNext) {
  Insert(Days(12, 8, L"PUMP"));
  CompressAll();
  const auto samples = Days(12, 8, L"TANK");
  const auto first = Backfill({dbms}, "test", InBatches(samples, 300),
                              {[](const BackfillProgress& progress) { return progress.chunksDone < 2; }});
  EXPECT_FALSE(first.complete);
  EXPECT_EQ(first.chunksRefreshed, 2);
  EXPECT_EQ(ChunksCompressed(false), "2");
  const auto second = Load(samples);
  EXPECT_TRUE(second.complete);
  EXPECT_EQ(second.counts.samples, 0);
  EXPECT_EQ(ChunksCompressed(false), "0");
  ExpectAggregate("datalog_1h", "1 hour", "tag_name like 'TANK%'");
  EXPECT_EQ(Load(samples).chunksRefreshed, 0);
}

TEST_F(BackfillTimescale, LoadsWithSeveralConnections) {
  const auto samples = Days(12, 2, L"PUMP", 10);
  const auto report = Backfill({dbms, NewDbms()}, "test", InBatches(samples, 400));
  EXPECT_EQ(report.counts.stored, static_cast<std::int64_t>(samples.size()));
  ExpectSameAsInserted({samples});
}

}  // namespace
