#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kDetect[] = L"select extversion from pg_extension where extname = 'timescaledb'";
constexpr wchar_t kCreate[] =
    L"create table if not exists system_log (time timestamptz not null,node int2 not null,module int2 not null,level int2 not null,type int not null,user_id text,message text not null,primary key (time,node,message))";
constexpr wchar_t kState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = 'system_log'";
constexpr wchar_t kSegments[] = L"node, module, level, type, user_id, message";
constexpr wchar_t kInsert[] = L"insert into system_log values (to_timestamp(:1),:2,:3,:4,:5,:6,:7)";

class SystemLog : public ScriptedTest {
 protected:
  void Install(int version) { server.Answer(kDetect, {{L"2." + std::to_wstring(version - 200) + L".1"}}); }
  Texts Create(int days) {
    EXPECT_TRUE(dbms->CreateSystemLogTable(days));
    return server.Statements();
  }
};

TEST_F(SystemLog, WithoutTheExtensionOnlyTheTableIsMade) {
  EXPECT_EQ(Create(90), (Texts{kDetect, kCreate}));
  EXPECT_EQ(TimescaleVersion, 0);
}

TEST_F(SystemLog, AFreshTableGetsTheWholeSetupInEveryDialect) {
  for (const int version : hypertable::kVersions) {
    server.Forget();
    Install(version);
    EXPECT_EQ(Create(90), (Texts{kDetect, kCreate, kState, hypertable::Create(version, L"system_log"),
                                 L"select add_retention_policy('system_log', interval '90 days')",
                                 hypertable::Compression(version, L"system_log", kSegments),
                                 hypertable::CompressionJob(L"system_log"),
                                 hypertable::CompressionPolicy(version, L"system_log")}));
    EXPECT_EQ(TimescaleVersion, version);
  }
}

TEST_F(SystemLog, AFreshTableWithoutDaysGetsNoRetention) {
  Install(217);
  EXPECT_EQ(Create(0), (Texts{kDetect, kCreate, kState, hypertable::Create(217, L"system_log"),
                              hypertable::Compression(217, L"system_log", kSegments),
                              hypertable::CompressionJob(L"system_log"),
                              hypertable::CompressionPolicy(217, L"system_log")}));
}

TEST_F(SystemLog, AnAdoptedTableGetsItsRetentionAndCompression) {
  for (const int version : hypertable::kVersions) {
    server.Forget();
    Install(version);
    server.Answer(kState, {{L"0"}});
    EXPECT_EQ(Create(0), (Texts{kDetect, kCreate, kState, hypertable::LegacyRetention(L"system_log"),
                                hypertable::Compression(version, L"system_log", kSegments),
                                hypertable::CompressionJob(L"system_log"),
                                hypertable::CompressionPolicy(version, L"system_log")}));
  }
}

TEST_F(SystemLog, ACompressedTableGetsItsRetentionAndThePolicyQuery) {
  for (const int version : hypertable::kVersions) {
    server.Forget();
    Install(version);
    server.Answer(kState, {{L"1"}});
    server.Answer(hypertable::LegacyRetention(L"system_log"), {{L"\"90 days\""}});
    server.Answer(hypertable::CompressionJob(L"system_log"), {{L"1001"}});
    EXPECT_EQ(Create(90), (Texts{kDetect, kCreate, kState, hypertable::LegacyRetention(L"system_log"),
                                 hypertable::CompressionJob(L"system_log")}));
  }
}

TEST_F(SystemLog, AFailedDetectionEndsTheOperation) {
  server.FailStatement(1);
  EXPECT_FALSE(dbms->CreateSystemLogTable(90));
  EXPECT_EQ(server.Statements(), Texts{kDetect});
}

TEST_F(SystemLog, NoRecordsIssueNoInsert) {
  EXPECT_EQ(dbms->InsertSystemLog({}), 0u);
  EXPECT_TRUE(server.sent.empty());
}

TEST_F(SystemLog, RecordsAreInsertedOneByOneWithTheirTypes) {
  const std::vector<SystemLogRecord> records = {{1700000000123, 1, -2, 3, 40000, L"op", L"started"},
                                                {1700000000000, 32767, -32768, 0, -1, L"", L"it's up"}};
  EXPECT_EQ(dbms->InsertSystemLog(records), 2u);
  EXPECT_EQ(server.Statements(), (Texts{kInsert, kInsert}));
  EXPECT_EQ(server.sent[0].binds, (Texts{L"float8 1700000000.123", L"int2 1", L"int2 -2", L"int2 3",
                                         L"int4 40000", L"text op", L"text started"}));
  EXPECT_EQ(server.sent[1].binds, (Texts{L"float8 1.7e+09", L"int2 32767", L"int2 -32768", L"int2 0",
                                         L"int4 -1", L"null", L"text it's up"}));
}

TEST_F(SystemLog, TheCountEndsBeforeTheRecordThatFails) {
  const std::vector<SystemLogRecord> records(4, {1700000000123, 1, 2, 3, 4, L"op", L"same"});
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(3, {3, 7, L"ERROR:  duplicate key"});
  EXPECT_EQ(dbms->InsertSystemLog(records), 2u);
  EXPECT_EQ(server.sent.size(), 3u);
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  duplicate key");
}

TEST_F(SystemLog, AServerOutOfReachStoresNothing) {
  server.RefuseConnections({3, 1, L"refused"});
  EXPECT_EQ(dbms->InsertSystemLog({{1, 1, 1, 1, 1, L"", L"m"}}), 0u);
  EXPECT_TRUE(server.sent.empty());
}

}  // namespace
