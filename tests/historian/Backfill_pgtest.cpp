#include "historian/Backfill.h"

#include <cfloat>
#include <limits>
#include <random>
#include <thread>

#include "historian/HistorianTest.h"
#include "historian/Samples.h"

namespace historian {
namespace {

constexpr std::int64_t kStart = 1700000000000;

class BackfillTest : public HistorianTest {
 protected:
  BackfillReport Load(const std::vector<LogSample>& samples, std::size_t batch = 1000,
                      const std::string& source = "test") {
    return Backfill({dbms}, source, InBatches(samples, batch));
  }

  // Stores batches by InsertLogData in a separate table.
  void InsertAside(const std::vector<std::vector<LogSample>>& batches) {
    Run("alter table datalog rename to loaded");
    ASSERT_TRUE(dbms->CreateLogTable(0));
    for (const auto& batch : batches) ASSERT_TRUE(dbms->InsertLogData(batch)) << dbms->GetLastError();
    Run("alter table datalog rename to inserted");
    Run("alter table loaded rename to datalog");
  }

  // Rows that only one of the two tables has, compared bit by bit.
  void ExpectSameAsInserted() {
    const std::string rows = "select time, tag_name, float8send(value) from ";
    EXPECT_EQ(Value("select count(*) from datalog"), Value("select count(*) from inserted"));
    EXPECT_EQ(Rows("(" + rows + "datalog) except (" + rows + "inserted) limit 10"),
              std::vector<std::string>());
    EXPECT_EQ(Rows("(" + rows + "inserted) except (" + rows + "datalog) limit 10"),
              std::vector<std::string>());
  }
};

TEST_F(BackfillTest, StoresSamplesAndCountsThem) {
  const auto report =
      Load({{kStart, L"A", 1.5}, {kStart + 1, L"A", DBL_MAX}, {0, L"A", 1}, {kStart, L"A", 9}});
  EXPECT_EQ(Rows("select extract(epoch from time), tag_name, value from datalog order by time"),
            (std::vector<std::string>{"1700000000.000000|A|1.5", "1700000000.001000|A|\\N"}));
  EXPECT_EQ(report.counts.batches, 1);
  EXPECT_EQ(report.counts.samples, 4);
  EXPECT_EQ(report.counts.stored, 2);
  EXPECT_EQ(report.counts.duplicates, 1);
  EXPECT_EQ(report.counts.leftOut, 1);
  EXPECT_TRUE(report.complete);
}

TEST_F(BackfillTest, StoresWhatInsertLogDataStores) {
  const double nan = std::numeric_limits<double>::quiet_NaN(),
               infinite = std::numeric_limits<double>::infinity();
  std::vector<LogSample> samples = {{kStart, L"tab\tline\nreturn\rback\\slash", 1},
                                    {kStart, L"it's \"quoted\"", 2},
                                    {kStart, L"\U0001F600", 3},
                                    {kStart, kEveryPlane, 4},
                                    {kStart, L"malformed \xD800", 5},
                                    {kStart, L"\\N", 6},
                                    {kStart, L" ", DBL_MAX},
                                    {1, L"first", 7},
                                    {0, L"zero", 8},
                                    {-5, L"before", 9},
                                    {kStart, L"", 10},
                                    {kStart, L"nan", nan},
                                    {kStart, L"infinite", infinite},
                                    {kStart, L"-infinite", -infinite},
                                    {kStart, L"-0", -0.0},
                                    {kStart, L"least", std::numeric_limits<double>::denorm_min()},
                                    {kStart, L"DBL_MIN", DBL_MIN},
                                    {9224318015999999, L"last", 1}};
  std::mt19937_64 random(1);
  for (int i = 0; i < 20000; ++i) {
    const auto anyTime = static_cast<std::int64_t>(1 + random() % 9224318016000000);
    const auto anyValue = std::bit_cast<double>(random());
    const double digits = static_cast<double>(random() % 20000000000) / 2 *
                          std::pow(10.0, static_cast<int>(random() % 40) - 20);
    samples.push_back({anyTime, L"any", std::fabs(anyValue) < 1e308 ? anyValue : 0});
    samples.push_back({kStart + i, L"digits", digits});
    samples.push_back({anyTime >> random() % 20, L"times", digits});
  }
  Load(samples, 7000);
  InsertAside({samples});
  ExpectSameAsInserted();
}

// The sort of InsertLogData does not define the order of equal keys, but in a batch that is sorted already,
// as here, the first one is kept.
TEST_F(BackfillTest, KeepsTheFirstOfSamplesWithOneTimeAndTagInABatch) {
  const std::vector<LogSample> samples = {
      {kStart, L"A", 1}, {kStart, L"A", 2}, {kStart, L"B", 3}, {kStart, L"B", DBL_MAX}};
  Load(samples);
  InsertAside({samples});
  EXPECT_EQ(Rows("select value from datalog order by tag_name"), (std::vector<std::string>{"1", "3"}));
  ExpectSameAsInserted();
}

TEST_F(BackfillTest, LeavesStoredSamplesAsTheyAre) {
  const auto old = Cycles(kStart, 50, 20);
  auto samples = Cycles(kStart + 25000, 100, 20);
  for (LogSample& sample : samples) sample.value += 1000;
  ASSERT_TRUE(dbms->InsertLogData(old));
  const auto report = Load(samples, 333);
  EXPECT_EQ(report.counts.stored, 1500);
  EXPECT_EQ(report.counts.duplicates, 500);
  InsertAside({old, samples});
  ExpectSameAsInserted();
}

TEST_F(BackfillTest, KeepsTheFirstOfSamplesInDifferentBatches) {
  std::vector<LogSample> samples = Cycles(kStart, 30, 10);
  for (LogSample sample : Cycles(kStart + 10000, 30, 10)) {
    sample.value = -1;
    samples.push_back(sample);
  }
  const auto report = Load(samples, 100);
  EXPECT_EQ(report.counts.duplicates, 200);
  EXPECT_EQ(Value("select count(*) from datalog where value = -1"), "100");
}

TEST_F(BackfillTest, SkipsBatchesThatAreStored) {
  const auto samples = Cycles(kStart, 100, 10);
  EXPECT_EQ(Load(samples, 100).counts.batches, 10);
  Run("delete from datalog");
  std::vector<std::int64_t> asked;
  const auto read = InBatches(samples, 100);
  const auto report = Backfill({dbms}, "test", [&](std::int64_t position, std::vector<LogSample>& batch) {
    asked.push_back(position);
    return read(position, batch);
  });
  EXPECT_EQ(asked, (std::vector<std::int64_t>{1000}));
  EXPECT_EQ(report.batchesBefore, 10);
  EXPECT_EQ(report.counts.samples, 0);
  EXPECT_EQ(Value("select count(*) from datalog"), "0");
}

TEST_F(BackfillTest, ContinuesWhereASourceHasGrown) {
  auto samples = Cycles(kStart, 10, 10);
  Load(samples, 40);
  const auto more = Cycles(kStart + 10000, 10, 10);
  samples.insert(samples.end(), more.begin(), more.end());
  const auto report = Load(samples, 40);
  EXPECT_EQ(report.batchesBefore, 3);
  EXPECT_EQ(report.counts.stored, 100);
  EXPECT_EQ(Value("select count(*) from datalog"), "200");
}

TEST_F(BackfillTest, StopsWhenTheCallbackSaysSoAndContinues) {
  const auto samples = Cycles(kStart, 100, 10);
  std::vector<std::int64_t> stored;
  const auto first =
      Backfill({dbms}, "test", InBatches(samples, 100), {[&](const BackfillProgress& progress) {
                 stored.push_back(progress.counts.stored);
                 return stored.size() < 4;
               }});
  EXPECT_FALSE(first.complete);
  EXPECT_EQ(stored, (std::vector<std::int64_t>{100, 200, 300, 400}));
  EXPECT_EQ(Value("select count(*) from datalog"), "400");
  const auto second = Load(samples, 100);
  EXPECT_TRUE(second.complete);
  EXPECT_EQ(second.batchesBefore, 4);
  EXPECT_EQ(second.counts.stored, 600);
}

TEST_F(BackfillTest, KeepsALedgerThatAdministratorsCanRead) {
  Load(Cycles(kStart, 10, 10), 60);
  EXPECT_EQ(
      Rows("select source, begins, ends, samples, stored, duplicates, left_out, extract(epoch from oldest), "
           "extract(epoch from newest), finished from historian_backfill order by begins"),
      (std::vector<std::string>{"test|0|60|60|60|0|0|1700000000.000000|1700000005.000000|t",
                                "test|60|100|40|40|0|0|1700000006.000000|1700000009.000000|t"}));
}

TEST_F(BackfillTest, LoadsWithSeveralConnections) {
  const auto samples = Cycles(kStart, 500, 40);
  const auto report = Backfill({dbms, NewDbms(), NewDbms()}, "test", InBatches(samples, 500));
  EXPECT_EQ(report.counts.stored, 20000);
  EXPECT_EQ(report.counts.batches, 40);
  InsertAside({samples});
  ExpectSameAsInserted();
}

TEST_F(BackfillTest, LoadsOverlappingBatchesWithSeveralConnections) {
  std::vector<LogSample> samples;
  for (int i = 0; i < 40; ++i) {
    const auto cycles = Cycles(kStart + (i % 4) * 5000, 10, 50);
    samples.insert(samples.end(), cycles.begin(), cycles.end());
  }
  const auto report = Backfill({dbms, NewDbms(), NewDbms(), NewDbms()}, "test", InBatches(samples, 500));
  EXPECT_EQ(report.counts.samples, 20000);
  EXPECT_EQ(report.counts.stored, 25 * 50);
  EXPECT_EQ(report.counts.duplicates, 20000 - 25 * 50);
  EXPECT_EQ(Value("select count(*) from datalog"), "1250");
}

TEST_F(BackfillTest, TwoRunsOfOneSourceStoreItOnce) {
  const auto samples = Cycles(kStart, 400, 20);
  BackfillReport other;
  std::thread thread(
      [&, second = NewDbms()] { other = Backfill({second}, "test", InBatches(samples, 200)); });
  const auto report = Backfill({dbms}, "test", InBatches(samples, 200));
  thread.join();
  EXPECT_EQ(report.counts.stored + other.counts.stored, 8000);
  EXPECT_EQ(report.counts.batches + other.counts.batches, 40);
  EXPECT_EQ(Value("select sum(stored) from historian_backfill"), "8000");
}

TEST_F(BackfillTest, AFailedBatchLeavesNothingAndEndsTheRun) {
  auto samples = Cycles(kStart, 30, 10);
  samples[150].tagName = std::wstring(L"A\0B", 3);
  const Error error = Failure([&] { Load(samples, 100); });
  EXPECT_EQ(error.Operation(), "backfill");
  EXPECT_EQ(error.SqlState(), "22021");
  EXPECT_EQ(Value("select count(*) from datalog"), "100");
  EXPECT_EQ(Value("select count(*) from historian_backfill"), "1");
  samples[150].tagName = L"AB";
  EXPECT_EQ(Load(samples, 100).counts.stored, 200);
}

TEST_F(BackfillTest, ABatchAndItsRowOfTheLedgerAreStoredTogetherOrNotAtAll) {
  const auto samples = Cycles(kStart, 10, 10);
  Load({}, 100);
  Run("alter table historian_backfill add constraint never check (source <> 'test')");
  EXPECT_EQ(Failure([&] { Load(samples, 100); }).SqlState(), "23514");
  EXPECT_EQ(Value("select count(*) from datalog"), "0");
  Run("alter table historian_backfill drop constraint never");
  Run("alter table datalog add constraint never check (value < 0)");
  EXPECT_EQ(Failure([&] { Load(samples, 100); }).SqlState(), "23514");
  EXPECT_EQ(Value("select count(*) from historian_backfill"), "0");
  Run("alter table datalog drop constraint never");
  EXPECT_EQ(Load(samples, 100).counts.stored, 100);
}

TEST_F(BackfillTest, RefusesWhatTheServerCannotHold) {
  EXPECT_EQ(Failure([&] { Load({{9224318016000000, L"A", 1}}); }).SqlState(), "22008");
  EXPECT_EQ(Failure([&] { Load({{kStart, L"A", -DBL_MAX}}); }).SqlState(), "22003");
  EXPECT_FALSE(dbms->InsertLogData({{9224318016000000, L"A", 1}}));
  EXPECT_FALSE(dbms->InsertLogData({{kStart, L"A", -DBL_MAX}}));
}

TEST_F(BackfillTest, AFailureOfTheReaderEndsTheRun) {
  const auto samples = Cycles(kStart, 30, 10);
  const auto read = InBatches(samples, 100);
  EXPECT_THROW(Backfill({dbms, NewDbms()}, "test",
                        [&](std::int64_t position, std::vector<LogSample>& batch) {
                          if (position == 200) throw std::runtime_error("no more");
                          return read(position, batch);
                        }),
               std::runtime_error);
  EXPECT_EQ(Value("select count(*) from datalog"), "200");
}

TEST_F(BackfillTest, RefusesAReaderThatDoesNotMoveOn) {
  const SampleReader stuck = [](std::int64_t position, std::vector<LogSample>&) { return position; };
  EXPECT_THROW(Backfill({dbms}, "test", stuck), std::invalid_argument);
  EXPECT_THROW(Backfill({}, "test", stuck), std::invalid_argument);
}

TEST_F(BackfillTest, ReportsTheServersWordsWhenTheTableIsMissing) {
  Run("drop table datalog");
  EXPECT_EQ(Failure([&] { Load(Cycles(kStart, 1, 1)); }).SqlState(), "42P01");
}

TEST_F(BackfillTest, ContinuesAfterTheConnectionWasLost) {
  const auto samples = Cycles(kStart, 100, 10);
  Failure([&] {
    Backfill({dbms}, "test", InBatches(samples, 100), {[&](const BackfillProgress& progress) {
               if (progress.counts.batches == 3)
                 Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " p");
               return true;
             }});
  });
  EXPECT_EQ(Load(samples, 100).batchesBefore, 3);
  EXPECT_EQ(Value("select count(*) from datalog"), "1000");
}

}  // namespace
}  // namespace historian
