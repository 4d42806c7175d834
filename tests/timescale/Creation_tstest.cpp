// Every create operation on a fresh database and again on its own result.

#include "TimescaleTest.h"

namespace {

const std::vector<UserLogColumn> kColumns = {{L"number", 0, 0}, {L"litres", 1, 0}, {L"product", 2, 20}};

class Creation : public TimescaleTest {};

// Up to 2.19 the view of jobs names an aggregate's policy by its internal table: the policy is not found, and
// adding it again fails.
bool FindsPoliciesOfAggregates(const Release& release) { return release >= Release{2, 20, 0}; }

constexpr wchar_t kPolicyExists[] = L"retention policy already exists for hypertable \"datalog_1m\"";

TEST_F(Creation, EveryTableIsCreatedOnAFreshDatabase) {
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateUserLogTable(L"Batches", kColumns, 10)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

// The retention that a table gets the second time, and the age in its policy afterwards.
struct Change {
  int days;
  const char* age;
};

constexpr Change kChanges[] = {{10, "10 days"}, {20, "20 days"}, {0, "none"}, {1, "1 day"}, {1, "1 day"}};

TEST_F(Creation, TablesTakeAnotherRetentionEachTime) {
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateUserLogTable(L"Batches", kColumns, 10)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
  for (const auto& [days, age] : kChanges) {
    SCOPED_TRACE(days);
    EXPECT_TRUE(dbms->CreateSystemLogTable(days)) << dbms->GetLastError();
    EXPECT_EQ(Retention("system_log"), age);
    EXPECT_TRUE(dbms->CreateUserLogTable(L"Batches", kColumns, days)) << dbms->GetLastError();
    EXPECT_EQ(Retention("user_batches"), age);
    EXPECT_TRUE(dbms->CreateAlarmTable(days)) << dbms->GetLastError();
    EXPECT_EQ(Retention("alarm"), age);
    EXPECT_TRUE(dbms->CreateReportDataTables(days)) << dbms->GetLastError();
    EXPECT_EQ(Retention("report_data_analog_minute"), age);
    EXPECT_EQ(Retention("report_data_digital_hour"), age);
    EXPECT_EQ(Retention("report_data_digital_day"), "none");
  }
}

TEST_F(Creation, TablesWithoutRetentionAreCreatedAgain) {
  const auto dbms = NewDbms();
  for (int i = 0; i < 2; ++i) {
    EXPECT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateUserLogTable(L"kept", kColumns, 0)) << dbms->GetLastError();
  }
  EXPECT_EQ(Retention("page"), "none");
  EXPECT_EQ(Retention("audit_table"), "none");
  EXPECT_EQ(Retention("user_kept"), "none");
}

TEST_F(Creation, TagHistoryWithoutRetentionIsCreatedAgain) {
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  EXPECT_EQ(Retention("datalog"), "none");
  EXPECT_EQ(Retention("datalog_1m"), "none");
  EXPECT_EQ(Retention("datalog_1h"), "none");
}

TEST_F(Creation, TagHistoryKeepsItsAggregatesLonger) {
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateLogTable(200)) << dbms->GetLastError();
  EXPECT_EQ(Retention("datalog"), "200 days");
  EXPECT_EQ(Retention("datalog_1m"), "400 days");
  EXPECT_EQ(Retention("datalog_1h"), "400 days");
}

TEST_F(Creation, TagHistoryIsCreatedAgainWhereTheReleaseFindsItsPolicies) {
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
  for (const auto& [days, age] : {Change{10, "10 days"}, {20, "20 days"}, {1, "1 day"}}) {
    SCOPED_TRACE(days);
    const bool result = dbms->CreateLogTable(days);
    // The table's own retention has been changed by then.
    EXPECT_EQ(Retention("datalog"), age);
    if (FindsPoliciesOfAggregates(release())) {
      EXPECT_TRUE(result) << dbms->GetLastError();
    } else {
      ExpectFailure(result, *dbms, kPolicyExists);
    }
  }
}

TEST_F(Creation, KeepsAnAggregatesPolicyWhoseAgeContainsTheNewOne) {
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateLogTable(20)) << dbms->GetLastError();
  ASSERT_EQ(Retention("datalog_1m"), "40 days");
  ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  EXPECT_EQ(Retention("datalog"), "none");
  // "40 days" contains "0 days", so the policy stays. It also stays on releases where policies are not found.
  EXPECT_EQ(Retention("datalog_1m"), "40 days");
  EXPECT_EQ(Retention("datalog_1h"), FindsPoliciesOfAggregates(release()) ? "none" : "365 days");
  Run("select remove_retention_policy('datalog_1m', if_exists => true)");
  Run("select remove_retention_policy('datalog_1h', if_exists => true)");
  EXPECT_EQ(Retention("datalog_1m"), "none");
  EXPECT_EQ(Retention("datalog_1h"), "none");
  // "730 days" contains it, too.
  ASSERT_TRUE(dbms->CreateLogTable(365)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  EXPECT_EQ(Retention("datalog_1m"), "730 days");
}

TEST_F(Creation, ARetentionBeyondTheCalendarIsTakenAndItsJobFails) {
  const auto dbms = NewDbms();
  EXPECT_TRUE(dbms->CreateAlarmTable(2'147'483'647)) << dbms->GetLastError();
  EXPECT_EQ(Retention("alarm"), "2147483647 days");
  const std::string job = Value(
      "select job_id from timescaledb_information.jobs where proc_name = 'policy_retention' and "
      "hypertable_name = 'alarm'");
  EXPECT_THROW(Run("call run_job(" + job + ")"), std::runtime_error);
}

TEST_F(Creation, TheAuditTrailIsMigratedUnlessAReleaseRefusesItOnCompressedTables) {
  Run("create table audit_table (time timestamptz not null,ip_addr text not null,user_id text not null,"
      "message text not null,group_name text not null,tag_name text,value text,comment text,"
      "primary key (time, ip_addr, message))");
  Run("select create_hypertable('audit_table', 'time')");
  Run("alter table audit_table set (timescaledb.compress, timescaledb.compress_segmentby = 'ip_addr')");
  const auto dbms = NewDbms();
  for (int i = 0; i < 2; ++i) {
    const bool result = dbms->CreateAuditTable();
    if (release() >= Release{2, 18, 0}) {
      EXPECT_TRUE(result) << dbms->GetLastError();
    } else {
      ExpectFailure(result, *dbms, L"operation not supported on hypertables that have compression enabled");
    }
  }
}

TEST_F(Creation, AnOlderAuditTrailIsMigratedWithItsRows) {
  Run("create table audit_table (time timestamp not null,operator_node text not null,operator text not null,"
      "name text not null,type int,group_name text not null,tag_name text,value text not null,"
      "comment text not null,primary key (time, operator_node, name))");
  const auto dbms = NewDbms();
  ASSERT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
  EXPECT_EQ(
      Rows("select column_name, is_nullable from information_schema.columns where table_name = 'audit_table' "
           "order by ordinal_position"),
      (std::vector<std::string>{"time|NO", "ip_addr|NO", "user_id|NO", "message|NO", "group_name|YES",
                                "tag_name|YES", "value|YES", "comment|YES"}));
  EXPECT_EQ(
      Value("select count(*) from timescaledb_information.hypertables where hypertable_name = 'audit_table'"),
      "1");
}

}  // namespace
