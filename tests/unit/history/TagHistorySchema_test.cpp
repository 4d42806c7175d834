#include <algorithm>

#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kExists[] =
    L"SELECT EXISTS (  SELECT 1   FROM information_schema.tables   WHERE table_schema = 'public'   AND table_name = 'datalog')";
constexpr wchar_t kCreate[] =
    L"create table if not exists datalog (time timestamptz not null,tag_name text not null,value float8,primary key (time,tag_name))";
constexpr wchar_t kState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = 'datalog'";
constexpr wchar_t kMinutesExist[] =
    L"SELECT 1 FROM timescaledb_information.continuous_aggregates WHERE view_name = 'datalog_1m'";
constexpr wchar_t kCreateMinutes[] =
    L"CREATE MATERIALIZED VIEW datalog_1m WITH (timescaledb.continuous) AS SELECT time_bucket('1 minute', time) AS bucket, tag_name, avg(value) as avg_val, max(value) as max_val, min(value) as min_val FROM datalog GROUP BY bucket, tag_name";
constexpr wchar_t kRefreshMinutes[] =
    L"SELECT add_continuous_aggregate_policy('datalog_1m', start_offset => INTERVAL '5 minutes', end_offset => INTERVAL '1 minute', schedule_interval => INTERVAL '2 minutes')";
constexpr wchar_t kMinutesRetention[] =
    L"SELECT config->>'drop_after' FROM timescaledb_information.jobs WHERE hypertable_name = lower('datalog_1m') AND proc_name = 'policy_retention'";
constexpr wchar_t kHoursExist[] =
    L"SELECT 1 FROM timescaledb_information.continuous_aggregates WHERE view_name = 'datalog_1h'";
constexpr wchar_t kCreateHours[] =
    L"CREATE MATERIALIZED VIEW datalog_1h WITH (timescaledb.continuous) AS SELECT time_bucket('1 hour', time) AS bucket, tag_name, avg(value) as avg_val, max(value) as max_val, min(value) as min_val FROM datalog GROUP BY bucket, tag_name";
constexpr wchar_t kRefreshHours[] =
    L"SELECT add_continuous_aggregate_policy('datalog_1h', start_offset => INTERVAL '3 hours', end_offset => INTERVAL '1 hour', schedule_interval => INTERVAL '1 hour')";
constexpr wchar_t kHoursRetention[] =
    L"SELECT config->>'drop_after' FROM timescaledb_information.jobs WHERE hypertable_name = lower('datalog_1h') AND proc_name = 'policy_retention'";
constexpr wchar_t kOldest[] = L"select extract(epoch from time) from datalog order by time limit 1";

class TagHistorySchema : public ScriptedTest {
 protected:
  Texts Create(int version, int days) {
    server.Forget();
    TimescaleVersion = version;
    EXPECT_TRUE(dbms->CreateLogTable(days));
    return server.Statements();
  }
  bool Sent(const std::wstring& statement) const {
    const Texts all = server.Statements();
    return std::find(all.begin(), all.end(), statement) != all.end();
  }
};

TEST_F(TagHistorySchema, WithoutTheExtensionOnlyTheTableIsMade) {
  EXPECT_EQ(Create(0, 10), (Texts{kExists, kCreate}));
}

TEST_F(TagHistorySchema, KeepsCreatingATableThatExists) {
  server.Answer(kExists, {{L"t"}});
  EXPECT_EQ(Create(0, 10), (Texts{kExists, kCreate}));
}

TEST_F(TagHistorySchema, ANewTableGetsAllInEveryDialect) {
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10), (Texts{kExists, kCreate, kState, hypertable::Create(version, L"datalog"),
                                          L"select add_retention_policy('datalog', interval '10 days')",
                                          kMinutesExist, kCreateMinutes, kRefreshMinutes, kMinutesRetention,
                                          L"SELECT add_retention_policy('datalog_1m', INTERVAL '30 days')",
                                          kHoursExist, kCreateHours, kRefreshHours, kHoursRetention,
                                          L"SELECT add_retention_policy('datalog_1h', INTERVAL '365 days')",
                                          hypertable::Compression(version, L"datalog", L"tag_name"),
                                          hypertable::CompressionJob(L"datalog"),
                                          hypertable::CompressionPolicy(version, L"datalog")}));
  }
}

TEST_F(TagHistorySchema, ANewTableWithoutDaysGetsNoRetention) {
  EXPECT_EQ(Create(217, 0),
            (Texts{kExists, kCreate, kState, hypertable::Create(217, L"datalog"), kMinutesExist,
                   kCreateMinutes, kRefreshMinutes, kMinutesRetention, kHoursExist, kCreateHours,
                   kRefreshHours, kHoursRetention, hypertable::Compression(217, L"datalog", L"tag_name"),
                   hypertable::CompressionJob(L"datalog"), hypertable::CompressionPolicy(217, L"datalog")}));
}

TEST_F(TagHistorySchema, WithoutDaysTheAggregatesLoseTheirPolicies) {
  server.Answer(kMinutesRetention, {{L"31 days"}});
  server.Answer(kHoursRetention, {{L"365 days"}});
  Create(217, -3);
  EXPECT_TRUE(Sent(L"SELECT remove_retention_policy('datalog_1m', if_exists => true)"));
  EXPECT_TRUE(Sent(L"SELECT remove_retention_policy('datalog_1h', if_exists => true)"));
}

TEST_F(TagHistorySchema, TheAggregatesAreKeptTwiceAsLong) {
  Create(217, 200);
  EXPECT_TRUE(Sent(L"SELECT add_retention_policy('datalog_1m', INTERVAL '400 days')"));
  EXPECT_TRUE(Sent(L"SELECT add_retention_policy('datalog_1h', INTERVAL '400 days')"));
  Create(217, 15);
  EXPECT_TRUE(Sent(L"SELECT add_retention_policy('datalog_1m', INTERVAL '30 days')"));
  Create(217, 16);
  EXPECT_TRUE(Sent(L"SELECT add_retention_policy('datalog_1m', INTERVAL '32 days')"));
}

TEST_F(TagHistorySchema, TheLongestRetentionDoesNotOverflow) {
  Create(217, 2147483647);
  EXPECT_TRUE(Sent(L"SELECT add_retention_policy('datalog_1m', INTERVAL '2147483647 days')"));
}

TEST_F(TagHistorySchema, AnAdoptedTableIsCompressedInEveryDialect) {
  server.Answer(kState, {{L"0"}});
  server.Answer(kMinutesExist, {{L"1"}});
  server.Answer(kHoursExist, {{L"1"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(
        Create(version, 10),
        (Texts{kExists, kCreate, kState, hypertable::LegacyRetention(L"datalog"),
               L"select add_retention_policy('datalog', interval '10 days')", kMinutesExist,
               kMinutesRetention, L"SELECT add_retention_policy('datalog_1m', INTERVAL '30 days')",
               kHoursExist, kHoursRetention,
               L"SELECT add_retention_policy('datalog_1h', INTERVAL '365 days')",
               hypertable::Compression(version, L"datalog", L"tag_name"),
               hypertable::CompressionJob(L"datalog"), hypertable::CompressionPolicy(version, L"datalog")}));
  }
}

TEST_F(TagHistorySchema, ACompressedSchemaIsLeftAsItIs) {
  server.Answer(kState, {{L"1"}});
  server.Answer(hypertable::LegacyRetention(L"datalog"), {{L"\"10 days\""}});
  server.Answer(kMinutesExist, {{L"1"}});
  server.Answer(kMinutesRetention, {{L"30 days"}});
  server.Answer(kHoursExist, {{L"1"}});
  server.Answer(kHoursRetention, {{L"365 days"}});
  server.Answer(hypertable::CompressionJob(L"datalog"), {{L"1001"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 10), (Texts{kExists, kCreate, kState, hypertable::LegacyRetention(L"datalog"),
                                          kMinutesExist, kMinutesRetention, kHoursExist, kHoursRetention,
                                          hypertable::CompressionJob(L"datalog")}));
  }
}

TEST_F(TagHistorySchema, TheOldestTimeIsReadInSeconds) {
  server.Answer(kOldest, {{L"1700000000.999000"}});
  std::int64_t oldest = 5;
  EXPECT_TRUE(dbms->GetOldestLogTime(oldest));
  EXPECT_EQ(oldest, 1700000000);
  EXPECT_EQ(server.Statements(), Texts{kOldest});
}

TEST_F(TagHistorySchema, AnEmptyTableLeavesTheOldestTimeUntouched) {
  std::int64_t oldest = 5;
  EXPECT_TRUE(dbms->GetOldestLogTime(oldest));
  EXPECT_EQ(oldest, 5);
}

}  // namespace
