// The state of the extension's catalog after the create operations.

#include "TimescaleTest.h"

namespace {

class Catalog : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateUserLogTable(L"batches", {{L"number", 0, 0}, {L"product", 2, 20}}, 10))
        << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
    ASSERT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
  }

  std::shared_ptr<Dbms> dbms;
  const std::vector<std::string> tables = {"alarm",
                                           "audit_table",
                                           "datalog",
                                           "page",
                                           "report_data_analog_hour",
                                           "report_data_analog_minute",
                                           "report_data_digital_hour",
                                           "report_data_digital_minute",
                                           "system_log",
                                           "user_batches"};
};

std::vector<std::string> WithEach(const std::vector<std::string>& tables, const std::string& suffix) {
  std::vector<std::string> lines;
  for (const std::string& table : tables) lines.push_back(table + suffix);
  return lines;
}

TEST_F(Catalog, TimeOrderedTablesAreCompressedHypertables) {
  EXPECT_EQ(Rows("select hypertable_name, compression_enabled from timescaledb_information.hypertables "
                 "where hypertable_schema = 'public' order by 1"),
            WithEach(tables, "|t"));
}

TEST_F(Catalog, ChunksHoldADay) {
  EXPECT_EQ(Rows("select hypertable_name, column_name, time_interval from timescaledb_information.dimensions "
                 "where hypertable_schema = 'public' order by 1"),
            WithEach(tables, "|time|1 day"));
}

TEST_F(Catalog, RowsAreSegmentedByTheColumnsThatDistinguishThem) {
  const auto segments = [&](const std::string& table) {
    return Value(
        "select string_agg(attname, ', ' order by segmentby_column_index) from "
        "timescaledb_information.compression_settings where hypertable_name = '" +
        table + "' and segmentby_column_index is not null");
  };
  EXPECT_EQ(segments("datalog"), "tag_name");
  EXPECT_EQ(segments("alarm"), "tag_name, status, type, level, zone");
  EXPECT_EQ(segments("user_batches"), "number, product");
  EXPECT_EQ(segments("page"), "tag_name");
  EXPECT_EQ(segments("report_data_analog_minute"), "tag_name");
  EXPECT_EQ(segments("report_data_digital_hour"), "tag_name");
  EXPECT_EQ(segments("audit_table"), "ip_addr, user_id, group_name, tag_name, message");
  EXPECT_EQ(segments("system_log"), "node, module, level, type, user_id, message");
}

TEST_F(Catalog, RowsAreOrderedByTime) {
  EXPECT_EQ(Rows("select hypertable_name, attname from timescaledb_information.compression_settings "
                 "where orderby_column_index = 1 and orderby_asc order by 1"),
            WithEach(tables, "|time"));
}

TEST_F(Catalog, EveryTableIsCompressedAfterADay) {
  EXPECT_EQ(Rows("select hypertable_name, config->>'compress_after' from timescaledb_information.jobs "
                 "where proc_name = 'policy_compression' order by 1"),
            WithEach(tables, "|1 day"));
}

TEST_F(Catalog, RetentionIsWhatWasAskedFor) {
  for (const std::string& table : tables) {
    const bool keptForGood = table == "audit_table" || table == "page";
    EXPECT_EQ(Retention(table), keptForGood ? "none" : "10 days") << table;
  }
  EXPECT_EQ(Retention("datalog_1m"), "30 days");
  EXPECT_EQ(Retention("datalog_1h"), "365 days");
}

TEST_F(Catalog, TheAggregatesAreRefreshed) {
  EXPECT_EQ(
      Rows(
          "select config->>'start_offset', config->>'end_offset', schedule_interval from "
          "timescaledb_information.jobs where proc_name = 'policy_refresh_continuous_aggregate' order by job_id"),
      (std::vector<std::string>{"00:05:00|00:01:00|00:02:00", "03:00:00|01:00:00|01:00:00"}));
}

TEST_F(Catalog, LongPeriodsStayPlainTables) {
  EXPECT_EQ(Value("select count(*) from information_schema.tables where table_name like 'report\\_data\\_%'"),
            "11");
}

}  // namespace
