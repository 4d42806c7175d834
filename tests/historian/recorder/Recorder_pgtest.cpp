#include <cfloat>

#include "historian/recorder/RecorderTest.h"
#include "historian/recorder/Spool.h"

namespace historian {
namespace {

TEST_F(RecorderTest, StoresWhatItAccepts) {
  Recorder recorder(NewDbms(), Options());
  const auto samples = Samples(0, 1000);
  EXPECT_TRUE(recorder.Record(samples));
  EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(1), AnAlarm(2)}));
  EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{ALogRecord(1)}));
  ExpectAllSettled(recorder);

  EXPECT_EQ(History(), Lines(samples));
  EXPECT_EQ(Value("select count(*) from alarm"), "2");
  EXPECT_EQ(Value("select count(*) from system_log"), "1");
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.state, RecorderState::Storing);
  EXPECT_EQ(report.accepted, 1003);
  EXPECT_EQ(report.stored, 1003);
  EXPECT_EQ(report.lastError, "");
}

// Values, times and names of all kinds: the rows are the same as those of InsertLogData.
TEST_F(RecorderTest, StoresTheRowsThatInsertLogDataStores) {
  const std::vector<LogSample> samples = {
      {1, L"FIRST", 0},
      {999, L"FIRST", -0.0},
      {1700000000123, L"TAB\tLINE\nRETURN\rBACK\\SLASH", 1.0 / 3},
      {1700000000124, L"\\N", DBL_MAX},
      {1700000000125, L"\\.", 1e300},
      {1700000000126, L"\U0001F525 'quoted' \"twice\"", 5e-324},
      {1700000000127, L" blank ", 123456789012345678.0},
      {253402300799999, L"LATE", 0.1 + 0.2},
      {1700000000123, L"TAB\tLINE\nRETURN\rBACK\\SLASH", 7},
      {1700000000128, kEveryPlane, -1e-7},
  };
  ASSERT_TRUE(dbms->InsertLogData(samples)) << dbms->GetLastError();
  const char* const rows =
      "select time, tag_name, value::text from datalog where tag_name <> 'x' order by 1, 2";
  auto wanted = Rows(rows);
  // Of two samples with one key, either may be stored.
  ASSERT_EQ(wanted.size(), 9u);
  Run("truncate datalog");

  Recorder recorder(NewDbms(), Options());
  EXPECT_TRUE(recorder.Record(samples));
  ExpectAllSettled(recorder);
  EXPECT_EQ(Rows(rows), wanted);
  EXPECT_EQ(recorder.Report().stored, 9);
  EXPECT_EQ(recorder.Report().duplicates, 1);
}

TEST_F(RecorderTest, StoresTheAlarmsAndLogRecordsThatTheOperationsStore) {
  AlarmRecord alarm{1700000000123, kEveryPlane,  1e-300, L"'; drop table alarm; --", -1, 32767, -32768, 5,
                    1700000000001, 1700000000999};
  AlarmRecord open = AnAlarm(5, L"");
  open.freeTimeMs = -3;
  const SystemLogRecord log{1700000000123, -1, 32767, -32768, 2147483647, L"", kEveryPlane};
  for (const AlarmRecord& a : {alarm, open}) {
    ASSERT_TRUE(dbms->InsertAlarm(a.timeMs, a.tagName.c_str(), a.value, a.label.c_str(), a.status, a.type,
                                  a.level, a.zone, a.occTimeMs, a.freeTimeMs));
  }
  ASSERT_EQ(dbms->InsertSystemLog({log, ALogRecord(1)}), 2u);
  const auto alarms = Rows("select * from alarm order by time, tag_name");
  const auto logs = Rows("select * from system_log order by time, message");
  ASSERT_EQ(alarms.size(), 2u);
  ASSERT_EQ(logs.size(), 2u);
  Run("truncate alarm, system_log");

  Recorder recorder(NewDbms(), Options());
  EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{alarm, open}));
  EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{log, ALogRecord(1)}));
  ExpectAllSettled(recorder);
  EXPECT_EQ(Rows("select * from alarm order by time, tag_name"), alarms);
  EXPECT_EQ(Rows("select * from system_log order by time, message"), logs);
}

TEST_F(RecorderTest, CountsDuplicatesWithinABatchAndAcrossBatches) {
  Recorder recorder(NewDbms(), Options());
  auto samples = Samples(0, 100);
  samples.insert(samples.end(), samples.begin(), samples.begin() + 10);
  EXPECT_TRUE(recorder.Record(samples));
  EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(1), AnAlarm(1), AnAlarm(2)}));
  ExpectAllSettled(recorder);
  EXPECT_TRUE(recorder.Record(Samples(50, 100)));
  EXPECT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(2), AnAlarm(3)}));
  EXPECT_TRUE(recorder.Record(std::vector<SystemLogRecord>{ALogRecord(1), ALogRecord(1)}));
  ExpectAllSettled(recorder);

  EXPECT_EQ(History(), Lines(Samples(0, 150)));
  EXPECT_EQ(Value("select count(*) from alarm"), "3");
  EXPECT_EQ(Value("select count(*) from system_log"), "1");
  EXPECT_EQ(recorder.Report().stored, 150 + 3 + 1);
  EXPECT_EQ(recorder.Report().duplicates, 10 + 50 + 2 + 1);
  EXPECT_EQ(recorder.Report().setAside, 0);
}

TEST_F(RecorderTest, GoesOnWithWhatWaitsInTheSpool) {
  std::vector<LogSample> all;
  for (int run = 0; run < 3; ++run) {
    Recorder recorder(Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), 1, Database().c_str(),
                                    User().c_str(), Password().c_str()),
                      Options());
    const auto samples = Samples(run * 500, 500);
    EXPECT_TRUE(recorder.Record(samples));
    all.insert(all.end(), samples.begin(), samples.end());
    EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
    events.Clear();
    EXPECT_EQ(recorder.Report().waiting, (run + 1) * 500);
    ExpectTrueCounts(recorder.Report());
  }
  Recorder recorder(NewDbms(), Options());
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(all));
  EXPECT_EQ(recorder.Report().accepted, 1500);
  EXPECT_EQ(recorder.Report().stored, 1500);
}

// As after a power loss with Durability::Process: the spool is an earlier one with a batch in flight, and the
// server has stored more.
TEST_F(RecorderTest, ContinuesWithASpoolThatIsOlderThanTheLedger) {
  const RecorderOptions options = Options();
  {
    recorder::Spool spool(options.spool, recorder::Syncing::AtCheckpoints, {1 << 30, false});
    for (std::int64_t first = 0; first < 1000; first += 100) {
      recorder::Piece piece{"", 100};
      for (const LogSample& sample : Samples(first, 100)) recorder::AppendRecord(piece.bytes, sample);
      spool.Append(recorder::Kind::Sample, {piece});
    }
    ASSERT_TRUE(spool.Next({}, {true, true, true}, 100));
  }
  const std::filesystem::path older = directory.File("older");
  std::filesystem::copy_file(options.spool, older);
  {
    Recorder recorder(NewDbms(), options);
    ExpectAllSettled(recorder);
    EXPECT_EQ(recorder.Report().stored, 1000);
  }
  std::filesystem::remove(options.spool);  // MinGW does not overwrite it
  std::filesystem::copy_file(older, options.spool);
  Recorder recorder(NewDbms(), options);
  ASSERT_TRUE(recorder.Record(Samples(1000, 100)));
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 1100)));
  EXPECT_EQ(recorder.Report().stored, 100);
  EXPECT_EQ(recorder.Report().duplicates, 1000);
}

TEST_F(RecorderTest, AFullSpoolRefusesAndSaysSo) {
  RecorderOptions options = Options();
  options.mostBytes = 100000;
  Run("alter table datalog rename to away");
  Recorder recorder(NewDbms(), options);
  std::int64_t accepted = 0;
  while (recorder.Record(Samples(accepted, 100))) accepted += 100;
  EXPECT_TRUE(events.WaitFor(RecorderState::Full));
  EXPECT_EQ(recorder.Report().accepted, accepted);
  ExpectTrueCounts(recorder.Report());
  Run("alter table away rename to datalog");
  ExpectAllSettled(recorder);
  EXPECT_EQ(recorder.Report().state, RecorderState::Full);
  EXPECT_TRUE(recorder.Record(Samples(accepted, 100)));
  ExpectAllSettled(recorder);
  EXPECT_EQ(recorder.Report().state, RecorderState::Storing);
  EXPECT_EQ(History(), Lines(Samples(0, accepted + 100)));
}

TEST_F(RecorderTest, AFullSpoolDropsTheOldestIfThatIsWanted) {
  RecorderOptions options = Options();
  options.mostBytes = 100000;
  options.whenFull = WhenFull::DropOldest;
  options.batch = 500;  // the batch in flight is not dropped
  Run("alter table datalog rename to away");
  Recorder recorder(NewDbms(), options);
  for (int i = 0; i < 100; ++i) ASSERT_TRUE(recorder.Record(Samples(100 * i, 100)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42P01"));
  Run("alter table away rename to datalog");
  ExpectAllSettled(recorder);
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.accepted, 10000);
  EXPECT_GT(report.dropped, 5000);
  EXPECT_EQ(report.stored, 10000 - report.dropped);
  EXPECT_EQ(Value("select count(*) from datalog"), std::to_string(report.stored));
  // The last ones are there.
  EXPECT_EQ(History().back(), Lines(Samples(9999, 1)).back());
}

}  // namespace
}  // namespace historian
