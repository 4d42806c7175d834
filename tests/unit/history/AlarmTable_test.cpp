#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kCreate[] =
    L"create table if not exists alarm (time timestamptz not null,tag_name text not null,value double precision not null,label text not null,status int2 not null,type int2 not null,level int2 not null,zone int2 not null,occ_time timestamptz not null,free_time timestamptz,primary key (time,tag_name,status))";
constexpr wchar_t kState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = 'alarm'";
constexpr wchar_t kAddRetention[] = L"select add_retention_policy('alarm', interval '90 days')";
constexpr wchar_t kSegments[] = L"tag_name, status, type, level, zone";
constexpr wchar_t kInsert[] =
    L"insert into alarm values(to_timestamp(:1), :2, :3, :4, :5, :6, :7, :8, to_timestamp(:9), to_timestamp(:10))";

class AlarmTable : public ScriptedTest {
 protected:
  Texts Create(int version, int days) {
    server.Forget();
    TimescaleVersion = version;
    EXPECT_TRUE(dbms->CreateAlarmTable(days));
    return server.Statements();
  }
  // The binds of an alarm that cleared at an instant.
  Texts Insert(std::int64_t freeTimeMs) {
    server.Forget();
    EXPECT_TRUE(dbms->InsertAlarm(1700000000123, L"PUMP.1", 21.5, L"it's high", 3, 12, 15, -32768,
                                  1700000000000, freeTimeMs));
    EXPECT_EQ(server.Statements(), Texts{kInsert});
    return server.sent.at(0).binds;
  }
};

TEST_F(AlarmTable, WithoutTheExtensionOnlyTheTableIsMade) { EXPECT_EQ(Create(0, 90), Texts{kCreate}); }

TEST_F(AlarmTable, ANewTableGetsTheWholeSetupInEveryDialect) {
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(
        Create(version, 90),
        (Texts{kCreate, kState, hypertable::Create(version, L"alarm"), kAddRetention,
               hypertable::Compression(version, L"alarm", kSegments), hypertable::CompressionJob(L"alarm"),
               hypertable::CompressionPolicy(version, L"alarm")}));
  }
}

TEST_F(AlarmTable, ANewTableWithoutDaysGetsNoRetention) {
  for (const int days : {0, -1}) {
    EXPECT_EQ(Create(217, days),
              (Texts{kCreate, kState, hypertable::Create(217, L"alarm"),
                     hypertable::Compression(217, L"alarm", kSegments), hypertable::CompressionJob(L"alarm"),
                     hypertable::CompressionPolicy(217, L"alarm")}));
  }
}

TEST_F(AlarmTable, AnAdoptedTableGetsItsRetentionAndCompression) {
  server.Answer(kState, {{L"0"}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(
        Create(version, 90),
        (Texts{kCreate, kState, hypertable::LegacyRetention(L"alarm"), kAddRetention,
               hypertable::Compression(version, L"alarm", kSegments), hypertable::CompressionJob(L"alarm"),
               hypertable::CompressionPolicy(version, L"alarm")}));
  }
}

TEST_F(AlarmTable, ACompressedTableSkipsTheSettingsAndStillGetsThePolicy) {
  server.Answer(kState, {{L"1"}});
  server.Answer(hypertable::LegacyRetention(L"alarm"), {{L"\"90 days\""}});
  for (const int version : hypertable::kVersions) {
    EXPECT_EQ(Create(version, 90), (Texts{kCreate, kState, hypertable::LegacyRetention(L"alarm"),
                                          hypertable::CompressionJob(L"alarm"),
                                          hypertable::CompressionPolicy(version, L"alarm")}));
  }
}

TEST_F(AlarmTable, ARetentionOfOtherDaysIsReplaced) {
  server.Answer(kState, {{L"1"}});
  server.Answer(hypertable::LegacyRetention(L"alarm"), {{L"\"30 days\""}});
  server.Answer(hypertable::CompressionJob(L"alarm"), {{L"1001"}});
  EXPECT_EQ(Create(217, 90), (Texts{kCreate, kState, hypertable::LegacyRetention(L"alarm"),
                                    L"select remove_retention_policy('alarm')", kAddRetention,
                                    hypertable::CompressionJob(L"alarm")}));
}

TEST_F(AlarmTable, AnAlarmIsBoundWithItsTypes) {
  EXPECT_EQ(Insert(1700000060500),
            (Texts{L"float8 1700000000.123", L"text PUMP.1", L"float8 21.5", L"text it's high", L"int2 3",
                   L"int2 12", L"int2 15", L"int2 -32768", L"float8 1.7e+09", L"float8 1700000060.5"}));
}

TEST_F(AlarmTable, AnAlarmThatHasNotClearedHasNoFreeTime) {
  EXPECT_EQ(Insert(0).at(9), L"null");
  EXPECT_EQ(Insert(-1).at(9), L"null");
  EXPECT_EQ(Insert(INT64_MIN).at(9), L"null");
  EXPECT_EQ(Insert(1).at(9), L"float8 0.001");
}

TEST_F(AlarmTable, ADuplicateAlarmIsTheServersFailure) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_FALSE(dbms->InsertAlarm(1, L"A", 0, L"", 0, 0, 0, 0, 1, 0));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

}  // namespace
