// Late samples of the recorder, and the aggregates that they belong to.

#include <chrono>

#include "TimescaleTest.h"
#include "historian/Recorder.h"
#include "historian/recorder/SpoolDirectory.h"

namespace {

constexpr std::int64_t kHour = 3'600'000;
constexpr std::chrono::minutes kLongEnough{2};

class HistorianRecorder : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  }

  // A sample a minute for two hours, `daysAgo` days ago.
  static std::vector<LogSample> Samples(int daysAgo, const std::wstring& tag) {
    using namespace std::chrono;
    const std::int64_t now = duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count();
    const std::int64_t begin = now / kHour * kHour - daysAgo * 24 * kHour;
    std::vector<LogSample> samples;
    for (int minute = 0; minute < 120; ++minute) {
      samples.push_back({begin + minute * 60'000, tag, static_cast<double>(minute)});
    }
    return samples;
  }

  void Record(const std::vector<LogSample>& samples) {
    historian::RecorderOptions options;
    options.spool = directory.File();
    historian::Recorder recorder(NewDbms(), options);
    ASSERT_TRUE(recorder.Record(samples));
    ASSERT_TRUE(recorder.WaitUntilStored(kLongEnough)) << recorder.Report().lastError;
    WaitUntil("select count(*) = 120 from datalog_1m where tag_name = 'LATE'");
    WaitUntil("select count(*) = 2 from datalog_1h where tag_name = 'LATE'");
  }

  historian::SpoolDirectory directory;
  std::shared_ptr<Dbms> dbms;
};

TEST_F(HistorianRecorder, LateSamplesAreInTheAggregatesOnceTheyAreStored) {
  Record(Samples(3, L"LATE"));
  EXPECT_EQ(
      Value("select count(*) from (select time_bucket('1 minute', time), tag_name, avg(value), max(value),"
            " min(value) from datalog group by 1, 2 except select * from datalog_1m) missing"),
      "0");
  EXPECT_EQ(Value("select sum(avg_val) from datalog_1h"), "119");  // 29.5 and 89.5
}

// Retention has dropped the samples of an old day. Its aggregates must stay.
TEST_F(HistorianRecorder, AggregatesOfDroppedSamplesStay) {
  ASSERT_TRUE(dbms->InsertLogData(Samples(20, L"OLD"))) << dbms->GetLastError();
  ASSERT_TRUE(dbms->InsertLogData(Samples(2, L"OLD"))) << dbms->GetLastError();
  Run("call refresh_continuous_aggregate('datalog_1m', null, null)");
  Run("call refresh_continuous_aggregate('datalog_1h', null, null)");
  Run("select drop_chunks('datalog', older_than => interval '10 days')");
  const auto minutes = Rows("select * from datalog_1m where tag_name = 'OLD' order by 1");
  const auto hours = Rows("select * from datalog_1h where tag_name = 'OLD' order by 1");
  ASSERT_EQ(minutes.size(), 240u);

  auto late = Samples(3, L"LATE");
  const auto older = Samples(20, L"OLDER");
  late.insert(late.end(), older.begin(), older.end());
  Record(late);
  EXPECT_EQ(Rows("select * from datalog_1m where tag_name = 'OLD' order by 1"), minutes);
  EXPECT_EQ(Rows("select * from datalog_1h where tag_name = 'OLD' order by 1"), hours);
  EXPECT_EQ(Value("select count(*) from datalog where tag_name = 'OLDER'"), "120");
}

}  // namespace
