#include <algorithm>

#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kExists[] =
    L"select * from information_schema.tables where table_schema = 'public' and table_name = 'audit_table'";
constexpr wchar_t kCreate[] =
    L"create table if not exists audit_table (time timestamptz not null,ip_addr text not null,user_id text not null,message text not null,group_name text,tag_name text,value text,comment text,primary key (time, ip_addr, message))";

constexpr wchar_t kTimeIsCurrent[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'time' and data_type = 'timestamp with time zone'";
constexpr wchar_t kHasNode[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'operator_node'";
constexpr wchar_t kHasOperator[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'operator'";
constexpr wchar_t kHasType[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'type'";
constexpr wchar_t kHasName[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'name'";
constexpr wchar_t kGroupIsStrict[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'group_name' and is_nullable = 'NO'";
constexpr wchar_t kValueIsStrict[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'value' and is_nullable = 'NO'";
constexpr wchar_t kCommentIsStrict[] =
    L"select * from information_schema.columns where table_schema = 'public' and table_name = 'audit_table' and column_name = 'comment' and is_nullable = 'NO'";

constexpr wchar_t kAlterTime[] = L"alter table audit_table alter column time type timestamptz";
constexpr wchar_t kRenameNode[] = L"alter table audit_table rename column operator_node to ip_addr";
constexpr wchar_t kRenameOperator[] = L"alter table audit_table rename column operator to user_id";
constexpr wchar_t kDropType[] = L"alter table audit_table drop type";
constexpr wchar_t kRenameName[] = L"alter table audit_table rename column name to message";
constexpr wchar_t kRelaxGroup[] = L"alter table audit_table alter column group_name drop not null";
constexpr wchar_t kRelaxValue[] = L"alter table audit_table alter column value drop not null";
constexpr wchar_t kRelaxComment[] = L"alter table audit_table alter column comment drop not null";

constexpr wchar_t kState[] =
    L"select compression_state from _timescaledb_catalog.hypertable where table_name = 'audit_table'";
constexpr wchar_t kSegments[] = L"ip_addr, user_id, group_name, tag_name, message";

const scripted::Rows kFound = {{L"scada"}};

class AuditTrail : public ScriptedTest {
 protected:
  Texts Create() {
    server.Forget();
    EXPECT_TRUE(dbms->CreateAuditTable());
    return server.Statements();
  }
  // A table of the current layout.
  void HaveTable() {
    server.Answer(kExists, kFound);
    server.Answer(kTimeIsCurrent, kFound);
  }
  // A table of the first layout.
  void HaveOldTable() {
    server.Answer(kExists, kFound);
    for (const wchar_t* probe :
         {kHasNode, kHasOperator, kHasType, kHasName, kGroupIsStrict, kValueIsStrict, kCommentIsStrict}) {
      server.Answer(probe, kFound);
    }
  }
  // The queries about an existing table of the current layout.
  const Texts probes = {kExists,  kTimeIsCurrent, kHasNode,       kHasOperator,    kHasType,
                        kHasName, kGroupIsStrict, kValueIsStrict, kCommentIsStrict};
};

Texts operator+(Texts texts, const Texts& more) {
  texts.insert(texts.end(), more.begin(), more.end());
  return texts;
}

TEST_F(AuditTrail, AFreshTableIsCreatedWithoutLookingAtColumns) {
  EXPECT_EQ(Create(), (Texts{kExists, kCreate}));
}

TEST_F(AuditTrail, ACurrentTableRunsTheEightProbesAndNothingElse) {
  HaveTable();
  EXPECT_EQ(Create(), probes);
}

TEST_F(AuditTrail, AnOldTableIsMigratedStepByStep) {
  HaveOldTable();
  EXPECT_EQ(Create(), (Texts{kExists, kTimeIsCurrent, kAlterTime, kHasNode, kRenameNode, kHasOperator,
                             kRenameOperator, kHasType, kDropType, kHasName, kRenameName, kGroupIsStrict,
                             kRelaxGroup, kValueIsStrict, kRelaxValue, kCommentIsStrict, kRelaxComment}));
}

TEST_F(AuditTrail, TheTimeIsAlteredWhenItsProbeFindsNothing) {
  server.Answer(kExists, kFound);
  EXPECT_EQ(Create(), (Texts{kExists, kTimeIsCurrent, kAlterTime, kHasNode, kHasOperator, kHasType, kHasName,
                             kGroupIsStrict, kValueIsStrict, kCommentIsStrict}));
}

TEST_F(AuditTrail, EveryOtherStepRunsWhenItsProbeFindsARow) {
  const std::pair<const wchar_t*, const wchar_t*> steps[] = {
      {kHasNode, kRenameNode},          {kHasOperator, kRenameOperator}, {kHasType, kDropType},
      {kHasName, kRenameName},          {kGroupIsStrict, kRelaxGroup},   {kValueIsStrict, kRelaxValue},
      {kCommentIsStrict, kRelaxComment}};
  HaveTable();
  for (const auto& [probe, statement] : steps) {
    server.AnswerOnce(probe, kFound);
    Texts expected = probes;
    expected.insert(std::find(expected.begin(), expected.end(), probe) + 1, statement);
    EXPECT_EQ(Create(), expected);
  }
}

TEST_F(AuditTrail, AFreshTableGetsTheSetupWithoutRetentionInEveryDialect) {
  for (const int version : hypertable::kVersions) {
    TimescaleVersion = version;
    EXPECT_EQ(Create(), (Texts{kExists, kCreate, kState, hypertable::Create(version, L"audit_table"),
                               hypertable::Compression(version, L"audit_table", kSegments),
                               hypertable::CompressionJob(L"audit_table"),
                               hypertable::CompressionPolicy(version, L"audit_table")}));
  }
}

TEST_F(AuditTrail, TheSetupIsSpelledAsEachVersionTakesIt) {
  TimescaleVersion = 212;
  EXPECT_EQ(
      Create(),
      (Texts{
          kExists, kCreate, kState,
          L"SELECT create_hypertable('audit_table', 'time', chunk_time_interval => INTERVAL '1 day')",
          L"ALTER TABLE audit_table SET (timescaledb.compress, timescaledb.compress_orderby = 'time', timescaledb.compress_segmentby = 'ip_addr, user_id, group_name, tag_name, message')",
          L"SELECT * FROM timescaledb_information.jobs WHERE proc_name = 'policy_compression' AND hypertable_name = 'audit_table'",
          L"SELECT add_compression_policy('audit_table', INTERVAL '1 day')"}));
  TimescaleVersion = 218;
  EXPECT_EQ(
      Create(),
      (Texts{
          kExists, kCreate, kState,
          L"SELECT create_hypertable('audit_table', by_range('time', INTERVAL '1 day'))",
          L"ALTER TABLE audit_table SET (timescaledb.enable_columnstore,timescaledb.orderby = 'time',timescaledb.segmentby = 'ip_addr, user_id, group_name, tag_name, message')",
          L"SELECT * FROM timescaledb_information.jobs WHERE proc_name = 'policy_compression' AND hypertable_name = 'audit_table'",
          L"CALL add_columnstore_policy('audit_table', INTERVAL '1 day')"}));
}

TEST_F(AuditTrail, AnAdoptedTableIsCompressedInEveryDialect) {
  HaveTable();
  for (const wchar_t* state : {L"0", L"2"}) {
    server.Answer(kState, {{state}});
    for (const int version : hypertable::kVersions) {
      TimescaleVersion = version;
      EXPECT_EQ(Create(), probes + Texts({kState, hypertable::Compression(version, L"audit_table", kSegments),
                                          hypertable::CompressionJob(L"audit_table"),
                                          hypertable::CompressionPolicy(version, L"audit_table")}));
    }
  }
}

TEST_F(AuditTrail, ACompressedTableGetsItsPolicyAlone) {
  HaveTable();
  server.Answer(kState, {{L"1"}});
  for (const int version : hypertable::kVersions) {
    TimescaleVersion = version;
    EXPECT_EQ(Create(), probes + Texts({kState, hypertable::CompressionJob(L"audit_table"),
                                        hypertable::CompressionPolicy(version, L"audit_table")}));
  }
}

TEST_F(AuditTrail, ACompressedTableWithItsPolicyIsLeftAsItIs) {
  HaveTable();
  server.Answer(kState, {{L"1"}});
  server.Answer(hypertable::CompressionJob(L"audit_table"), {{L"1001"}});
  for (const int version : hypertable::kVersions) {
    TimescaleVersion = version;
    EXPECT_EQ(Create(), probes + Texts({kState, hypertable::CompressionJob(L"audit_table")}));
  }
}

TEST_F(AuditTrail, AnOldTableBecomesAHypertableAfterItsMigration) {
  HaveOldTable();
  TimescaleVersion = 217;
  const Texts sent = Create();
  ASSERT_EQ(sent.size(), 22u);
  EXPECT_EQ(sent[16], kRelaxComment);
  EXPECT_EQ(sent[17], kState);
  EXPECT_EQ(sent[18], hypertable::Create(217, L"audit_table"));
}

TEST_F(AuditTrail, KeepsWaitingForTheSystemLogToFindTheExtension) {
  const std::wstring detect = L"select extversion from pg_extension where extname = 'timescaledb'";
  server.Answer(detect, {{L"2.17.2"}});
  EXPECT_EQ(Create(), (Texts{kExists, kCreate}));

  ASSERT_TRUE(dbms->CreateSystemLogTable(0));
  EXPECT_EQ(Create(), (Texts{kExists, kCreate, kState, hypertable::Create(217, L"audit_table"),
                             hypertable::Compression(217, L"audit_table", kSegments),
                             hypertable::CompressionJob(L"audit_table"),
                             hypertable::CompressionPolicy(217, L"audit_table")}));
}

TEST_F(AuditTrail, AMigrationThatFailsIsTakenUpAgainByTheNextCall) {
  HaveOldTable();
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(5, {3, 7, L"ERROR:  column \"ip_addr\" already exists"});
  EXPECT_FALSE(dbms->CreateAuditTable());
  EXPECT_EQ(server.Statements(), (Texts{kExists, kTimeIsCurrent, kAlterTime, kHasNode, kRenameNode}));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  column \"ip_addr\" already exists");
  EXPECT_EQ(Create().size(), 17u);
}

}  // namespace
