// Checks that do not need TimescaleDB. Each is made to fail, then its advice is carried out.

#include "historian/Health.h"

#include <chrono>
#include <thread>

#include "historian/HealthChecks.h"
#include "historian/HistorianTest.h"
#include "server/Zone.h"

namespace historian {
namespace {

class HealthTest : public HistorianTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistorianTest::SetUp());
    const std::wstring wide = Database();
    database.assign(wide.begin(), wide.end());
  }

  // An account with default rights. Its name contains the database's, because accounts belong to the whole
  // server.
  void CreateReader() {
    Run("create role " + Reader() + " login password 'reader'");
    checks.connect = [this] {
      const std::string name = Reader();
      return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                           std::wstring(name.begin(), name.end()).c_str(), L"reader");
    };
  }
  void DropReader() { Run("drop owned by " + Reader() + "; drop role " + Reader()); }
  std::string Reader() const { return database + "_reader"; }

  void Alter(const std::string& setting) { Run("alter database " + database + " set " + setting); }

  std::string database;
  HealthChecks checks{
      [this] { return NewDbms(); }, [this](const std::string& statement) { Run(statement); }, {}};
};

TEST_F(HealthTest, AServerThatDoesNotAnswerIsTheOnlyFinding) {
  checks.connect = [this] {
    return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), L"there_is_no_such_database",
                         User().c_str(), Password().c_str());
  };
  const HealthReport report = checks.Report();
  ASSERT_EQ(report.findings.size(), 1u);
  EXPECT_EQ(report.Worst(), Verdict::Failed);
  const Finding finding = checks.Expect("connection", Verdict::Failed, "there_is_no_such_database");
  EXPECT_NE(finding.advice.find("correct host, port, database"), std::string::npos);
  checks.connect = [this] { return NewDbms(); };
  checks.Expect("connection", Verdict::Ok, "");
}

TEST_F(HealthTest, AServerThatIsLostMeanwhileIsAFinding) {
  const auto lost = NewDbms();
  ASSERT_TRUE(lost->Connect());
  Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " other(pid)");
  WaitUntil("select not exists " + std::string(kOtherBackends));
  const HealthReport report = CheckHealth(*lost);
  EXPECT_EQ(report.Worst(), Verdict::Failed);
  EXPECT_EQ(report.findings.back().check, "connection");
  EXPECT_EQ(CheckHealth(*lost).findings.front().verdict, Verdict::Ok) << "connects again";
}

TEST_F(HealthTest, TheReleaseOfTheServerIsReported) {
  checks.Expect("server version", Verdict::Ok, "PostgreSQL " + Value("show server_version"));
}

TEST_F(HealthTest, EveryCheckCanBeMadeInAReadOnlySession) {
  EXPECT_EQ(checks.NotMade(), std::vector<std::string>());
  Alter("default_transaction_read_only = on");
  EXPECT_EQ(checks.NotMade(), std::vector<std::string>());
  checks.ExpectCure("role", Verdict::Failed, "read-only");
}

TEST_F(HealthTest, ASlotThatNobodyReadsKeepsTheLog) {
  const std::string slot = database + "_slot";
  Run("select pg_create_physical_replication_slot('" + slot + "', true)");
  std::string advice;
  for (const Finding& finding : checks.Report().findings) {
    if (finding.found.find(slot) == std::string::npos) continue;
    EXPECT_EQ(finding.check, "replication");
    EXPECT_EQ(finding.verdict, Verdict::Warning);
    advice = finding.advice;
  }
  EXPECT_EQ(advice, "select pg_drop_replication_slot('" + slot + "')");
  Run("select pg_drop_replication_slot('" + slot + "')");
  for (const Finding& finding : checks.Report().findings)
    EXPECT_EQ(finding.found.find(slot), std::string::npos);
}

TEST_F(HealthTest, SettingsOfTheDatabaseAreChangedThere) {
  checks.Expect("IntervalStyle", Verdict::Ok, "postgres");
  Alter("intervalstyle = 'iso_8601'");
  checks.ExpectCure("IntervalStyle", Verdict::Warning, "iso_8601");
  Alter("synchronous_commit = off");
  checks.ExpectCure("synchronous_commit", Verdict::Warning, "off");
}

TEST_F(HealthTest, SettingsOfAnAccountAreChangedThere) {
  CreateReader();
  Run("alter role " + Reader() + " in database " + database + " set intervalstyle = 'iso_8601'");
  checks.ExpectCure("IntervalStyle", Verdict::Warning, "iso_8601");
  Run("alter role " + Reader() + " reset intervalstyle");
  Run("alter role " + Reader() + " in database " + database + " reset intervalstyle");
  Run("alter role " + Reader() + " set intervalstyle = 'sql_standard'");
  checks.ExpectCure("IntervalStyle", Verdict::Warning, "sql_standard");
  DropReader();
}

// Changes the whole server. Other tests that run at the same time only become slower.
TEST_F(HealthTest, SettingsOfTheServerAreChangedThere) {
  for (const std::string setting : {"fsync", "full_page_writes"}) {
    const auto wait = [&](Verdict verdict) {
      const auto end = std::chrono::steady_clock::now() + std::chrono::minutes(1);
      while (checks.Look(setting).verdict != verdict && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    };
    checks.CarryOut("alter system set " + setting + " = off; select pg_reload_conf()");
    wait(Verdict::Failed);
    const Finding finding = checks.Expect(setting, Verdict::Failed, "a crash of the machine");
    checks.CarryOut(finding.advice);
    wait(Verdict::Ok);
    checks.Expect(setting, Verdict::Ok, "on");
    checks.CarryOut("alter system reset " + setting + "; select pg_reload_conf()");
  }
}

TEST_F(HealthTest, SessionAndProcessAreToBeInTheSameZone) {
  const Environment process("TZ", "Europe/Berlin");
  Alter("timezone = 'America/New_York'");
  checks.ExpectCure("time zone", Verdict::Warning, "America/New_York");
  checks.Expect("time zone", Verdict::Ok, "Europe/Berlin");
}

TEST_F(HealthTest, AnAccountNeedsItsPrivileges) {
  Run("revoke temporary on database " + database + " from public");
  Run("revoke create on schema public from public");  // granted before PostgreSQL 15
  CreateReader();
  checks.ExpectCure("privileges", Verdict::Failed, "select on datalog");
  Run("revoke create on schema public from " + Reader());
  checks.ExpectCure("privileges", Verdict::Warning, "create in schema public");
  DropReader();
}

TEST_F(HealthTest, ACheckThatIsRefusedSaysSo) {
  CreateReader();
  const Finding finding = checks.Expect("newest sample", Verdict::Warning, "could not be checked");
  EXPECT_NE(finding.found.find("permission denied"), std::string::npos) << finding.found;
  checks.CarryOut(finding.advice);
  checks.Expect("newest sample", Verdict::Warning, "no sample is stored");
  DropReader();
}

TEST_F(HealthTest, MissingTablesAreNamed) {
  checks.Expect("table datalog", Verdict::Ok, "plain");
  checks.Expect("table alarm", Verdict::Warning, "missing");
  ASSERT_TRUE(dbms->CreateAlarmTable(0));
  checks.Expect("table alarm", Verdict::Ok, "plain");
  checks.Expect("other tables", Verdict::Warning, "comment, event_report_data, iec_goose, locked_user_list");
  ASSERT_TRUE(dbms->CreateReportDataTables(0) && dbms->CreatePageTimeListTable() &&
              dbms->CreatePageTimestampTable());
  ASSERT_TRUE(dbms->CreateEventReportTable() && dbms->CreateUserTables() && dbms->CreateSignatureTable());
  ASSERT_TRUE(dbms->CreateNetworkTable() && dbms->CreateCommentTable() && dbms->CreateRecipeGroupTable());
  ASSERT_TRUE(dbms->CreateRecipeTable() && dbms->CreateGooseTable());
  checks.Expect("other tables", Verdict::Ok, "all there");
}

TEST_F(HealthTest, ADroppedTagHistoryIsAFailure) {
  Run("drop table datalog");
  checks.Expect("table datalog", Verdict::Failed, "missing");
  const Finding finding = checks.Expect("newest sample", Verdict::Warning, "could not be checked");
  EXPECT_EQ(finding.advice, "historian init");
  ASSERT_TRUE(dbms->CreateLogTable(0));
  checks.Expect("table datalog", Verdict::Ok, "plain");
  checks.Expect("newest sample", Verdict::Warning, "no sample is stored");
}

TEST_F(HealthTest, TheNewestSampleIsToBeOfNow) {
  checks.Expect("newest sample", Verdict::Warning, "no sample is stored");
  Run("insert into datalog values (now() - interval '70 minutes', 'A', 1)");
  checks.Expect("newest sample", Verdict::Warning, "70 minutes ago");
  checks.options.lateAfter = std::chrono::minutes(90);
  checks.Expect("newest sample", Verdict::Ok, "0.0 samples a second");
  checks.options.lateAfter = std::chrono::minutes(60);
  Run("insert into datalog select now() - step * interval '100 milliseconds', 'A', 1 from generate_series(0, 599) step");
  checks.Expect("newest sample", Verdict::Ok, "2.0 samples a second");
  Run("insert into datalog values (now() + interval '20 minutes', 'A', 1)");
  checks.Expect("newest sample", Verdict::Warning, "in the future");
  Run("delete from datalog where time > now()");
  checks.Expect("newest sample", Verdict::Ok, "");
}

TEST_F(HealthTest, TagsThatHaveStoppedAreNamed) {
  checks.Expect("stopped tags", Verdict::Ok, "0 tags");
  Run("insert into datalog select now() - silent * interval '1 hour', 'T' || silent, 1 from "
      "unnest(array[0, 1, 23, 25, 30, 190, 400]) silent");
  checks.Expect("stopped tags", Verdict::Warning, "3 of 7 tags: T190, T25, T30");
  checks.options.stoppedAfter = std::chrono::minutes(0);
  for (const Finding& finding : checks.Report().findings) EXPECT_NE(finding.check, "stopped tags");
  checks.options.stoppedAfter = std::chrono::hours(24);
  Run("insert into datalog select now(), tag, 1 from unnest(array['T25', 'T30', 'T190']) tag");
  checks.Expect("stopped tags", Verdict::Ok, "7 tags");
}

TEST_F(HealthTest, TheSizeOfTheDatabaseIsReported) {
  EXPECT_NE(checks.Look("disk").found.find("the database takes"), std::string::npos);
}

}  // namespace
}  // namespace historian
