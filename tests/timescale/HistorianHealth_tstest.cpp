// Checks that need TimescaleDB. Each is made to warn, then its advice is carried out.

#include "TimescaleTest.h"
#include "historian/HealthChecks.h"

namespace {

using historian::Finding;
using historian::HealthChecks;
using historian::HealthReport;
using historian::Verdict;

class HistorianHealth : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
  }

  // Samples a minute apart over some days; parameters are the number of days and the age of the last one.
  void Store(const std::string& length, const std::string& age) {
    Run("insert into datalog select time, 'A', 1 from generate_series(now() - interval '" + age +
        "' - interval '" + length + "', now() - interval '" + age + "', interval '1 minute') time");
  }

  std::string DatabaseName() { return Value("select current_database()"); }

  std::shared_ptr<Dbms> dbms;
  HealthChecks checks{
      [this] { return NewUntoldDbms(); }, [this](const std::string& statement) { Run(statement); }, {}};
};

TEST_F(HistorianHealth, EveryCheckCanBeMade) {
  Run("alter database " + DatabaseName() + " set default_transaction_read_only = on");
  EXPECT_EQ(checks.NotMade(), std::vector<std::string>());
}

TEST_F(HistorianHealth, TheExtensionIsToBeInstalled) {
  const Finding release = checks.Look("extension");
  EXPECT_EQ(release.found.find("TimescaleDB " + ReleaseUnderTest()), 0u) << release.found;
  Run("drop extension timescaledb cascade");
  Reconnect();  // the server may install another release than the one that the session has loaded
  const Finding missing = checks.Expect("extension", Verdict::Warning, "not installed");
  checks.CarryOut(missing.advice);
  EXPECT_EQ(checks.Look("extension").found.find("TimescaleDB "), 0u);
}

TEST_F(HistorianHealth, AReleaseWithFaultsIsToBeUpdated) {
  if (release() >= Release{2, 20, 0}) {
    checks.Expect("extension", Verdict::Ok, "TimescaleDB " + ReleaseUnderTest());
    return;
  }
  const bool loses = release() >= Release{2, 16, 0} && release() <= Release{2, 18, 0};
  Run("insert into datalog values (date_trunc('hour', now()) - interval '1 day', 'A', 1)");
  Run("select compress_chunk(chunk) from show_chunks('datalog') chunk");

  Reconnect();  // an update is to be the first statement of a session
  checks.ExpectCure("extension", loses ? Verdict::Failed : Verdict::Warning,
                    "TimescaleDB " + ReleaseUnderTest() + (loses ? " loses samples" : ": CreateLogTable"));

  const auto updated = NewUntoldDbms();
  const auto stored = std::stoll(Value("select (extract(epoch from time) * 1000)::bigint from datalog"));
  EXPECT_TRUE(updated->InsertLogData({{stored, L"A", 2}, {stored + 1, L"A", 3}})) << updated->GetLastError();
  EXPECT_EQ(Rows("select value from datalog order by time"), (std::vector<std::string>{"1", "3"}));
  EXPECT_TRUE(updated->CreateLogTable(20)) << updated->GetLastError();
  EXPECT_EQ(Retention("datalog_1m"), "40 days");
  Run("select _timescaledb_functions.stop_background_workers()");
}

TEST_F(HistorianHealth, TablesAsTheLibraryMakesThemAreRight) {
  ASSERT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
  int tables = 0;
  for (const Finding& finding : checks.Report().findings) {
    if (finding.check.find("table ") != 0) continue;
    ++tables;
    EXPECT_EQ(finding.verdict, Verdict::Ok) << finding.check << ": " << finding.found;
  }
  EXPECT_EQ(tables, 10);
  checks.Expect("table datalog", Verdict::Ok, "hypertable, compressed after a day, retention 10 days");
  checks.Expect("table audit_table", Verdict::Ok, "no retention");
  checks.Expect("table datalog_1h", Verdict::Ok, "continuous aggregate, refreshed, retention 365 days");
}

TEST_F(HistorianHealth, APlainTableIsMadeAHypertableWithItsRows) {
  Run("create table plain (like alarm including all); drop table alarm; alter table plain rename to alarm");
  Run("insert into alarm(time, tag_name, value, label, status, type, level, zone, occ_time) "
      "values (now(), 'A', 1, 'high', 0, 0, 1, 0, now())");
  const Finding plain = checks.Expect("table alarm", Verdict::Warning, "a plain table");
  checks.CarryOut(plain.advice);
  EXPECT_EQ(Value("select count(*) from alarm"), "1");
  checks.ExpectCure("table alarm", Verdict::Warning, "not compressed");
}

TEST_F(HistorianHealth, CompressionIsToHaveItsPolicy) {
  Run("select remove_compression_policy('datalog')");
  checks.ExpectCure("table datalog", Verdict::Warning, "not compressed");
}

TEST_F(HistorianHealth, RetentionIsToBeTheOneWanted) {
  checks.options.retentionDays = {{"datalog", 30}, {"datalog_1m", 60}, {"alarm", 0}};
  checks.ExpectCure("table datalog", Verdict::Warning, "retention 10 days, wanted are 30 days");
  EXPECT_EQ(Retention("datalog"), "30 days");
  checks.ExpectCure("table datalog_1m", Verdict::Warning, "retention 30 days, wanted are 60 days");
  EXPECT_EQ(Retention("datalog_1m"), "60 days");
  checks.ExpectCure("table alarm", Verdict::Warning, "wanted are 0 days");
  EXPECT_EQ(Retention("alarm"), "none");
  checks.options.retentionDays = {{"alarm", 20}};
  checks.ExpectCure("table alarm", Verdict::Warning, "no retention, wanted are 20 days");
}

TEST_F(HistorianHealth, AggregatesAreToBeThereAndRefreshed) {
  Run("select remove_continuous_aggregate_policy('datalog_1m')");
  checks.ExpectCure("table datalog_1m", Verdict::Warning, "never refreshed");
  Run("drop materialized view datalog_1h");
  checks.Expect("table datalog_1h", Verdict::Warning, "missing");
  if (release() < Release{2, 20, 0}) return;  // CreateLogTable cannot be repeated there
  ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
  checks.Expect("table datalog_1h", Verdict::Ok, "refreshed");
}

TEST_F(HistorianHealth, ChunksThatAreDueAreToBeCompressed) {
  checks.Expect("compression", Verdict::Ok, "every chunk");
  Store("3 days", "4 days");
  Run("insert into alarm(time, tag_name, value, label, status, type, level, zone, occ_time) "
      "values (now() - interval '5 days', 'A', 1, 'high', 0, 0, 1, 0, now())");
  const Finding alarm = checks.Expect("compression alarm", Verdict::Warning, "1 chunks are not compressed");
  const Finding datalog =
      checks.Expect("compression datalog", Verdict::Warning, "4 chunks are not compressed");
  checks.CarryOut(alarm.advice + "; " + datalog.advice);
  checks.Expect("compression", Verdict::Ok, "every chunk");
  checks.Expect("size datalog", Verdict::Ok, " : 1");
}

TEST_F(HistorianHealth, JitIsToBeOffOnceChunksAreCompressed) {
  Run("alter database " + DatabaseName() + " set jit = on");
  checks.Expect("jit", Verdict::Ok, "on");
  Store("1 hour", "4 days");
  Run("select compress_chunk(chunk) from show_chunks('datalog') chunk");
  checks.ExpectCure("jit", Verdict::Warning, "compressed chunks");
  EXPECT_EQ(checks.Look("jit").found, "off");
}

TEST_F(HistorianHealth, AggregatesAreToHoldWhatTheirPoliciesWillNotAdd) {
  Store("1 minute", "0 minutes");
  checks.Expect("refresh datalog_1m", Verdict::Ok, "");
  checks.Expect("refresh datalog_1h", Verdict::Ok, "");
  Store("2 hours", "3 days");
  checks.ExpectCure("refresh datalog_1m", Verdict::Warning, "misses samples from ");
  checks.ExpectCure("refresh datalog_1h", Verdict::Warning, "misses samples from ");
  EXPECT_EQ(Value("select count(*) from datalog_1m"),
            Value("select count(*) from datalog where time < now() - interval '1 day'"));
  // A late sample, and one in a gap.
  Run("insert into datalog values (now() - interval '3 days 1 hour', 'late', 2), (now() - interval '40 days', 'A', 3)");
  checks.ExpectCure("refresh datalog_1m", Verdict::Warning, ", ");
  EXPECT_EQ(
      Value("select count(*) from datalog_1m where tag_name = 'late' or bucket < now() - interval '30 days'"),
      "2");
}

TEST_F(HistorianHealth, DroppedSamplesAreNotRefreshed) {
  Store("2 hours", "3 days");
  Run("call refresh_continuous_aggregate('datalog_1h', null, now() - interval '1 day')");
  Run("call refresh_continuous_aggregate('datalog_1m', null, now() - interval '1 day')");
  Run("select drop_chunks('datalog', now() - interval '2 days')");
  // A refresh would empty the aggregates.
  checks.Expect("refresh datalog_1m", Verdict::Ok, "");
  checks.Expect("refresh datalog_1h", Verdict::Ok, "");
}

TEST_F(HistorianHealth, LocksAreCountedAsTheServerTakesThem) {
  Store("9 days", "1 day");
  Run("select compress_chunk(chunk) from (select chunk from show_chunks('datalog') chunk limit 4) few");
  Run("begin; select count(*) from datalog");
  // Also locks of the table, its index and the catalog.
  const int taken = std::stoi(Value(
      "select count(*) from pg_locks l join pg_class c on c.oid = l.relation where l.pid = pg_backend_pid() "
      "and c.relnamespace = '_timescaledb_internal'::regnamespace"));
  Run("rollback");
  const std::string found = checks.Expect("locks", Verdict::Ok, " locks of ").found;
  const int counted = std::stoi(found.substr(found.find("takes ") + 6));
  EXPECT_LE(taken, counted);
  EXPECT_GE(taken + 12, counted);
}

}  // namespace
