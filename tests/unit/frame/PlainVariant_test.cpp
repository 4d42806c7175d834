#include <SQLAPI.h>

#include <algorithm>
#include <array>

#include "AllOperations.h"
#include "DbmsAPI/frame/Timescale.h"
#include "scripted/ScriptedTest.h"

namespace {

constexpr wchar_t kProbe[] = L"select * from pg_extension where extname = 'timescaledb'";
constexpr wchar_t kDetect[] = L"select extversion from pg_extension where extname = 'timescaledb'";
constexpr wchar_t kFindAudit[] =
    L"select * from information_schema.tables where table_schema = 'public' and table_name = 'audit_table'";
constexpr wchar_t kCreateAudit[] =
    L"create table if not exists audit_table (time timestamptz not null,ip_addr text not null,user_id text not null,message text not null,group_name text,tag_name text,value text,comment text,primary key (time, ip_addr, message))";
constexpr wchar_t kCreateSystemLog[] =
    L"create table if not exists system_log (time timestamptz not null,node int2 not null,module int2 not null,level int2 not null,type int not null,user_id text,message text not null,primary key (time,node,message))";
constexpr wchar_t kChunks[] =
    L"select hypertable_name, chunk_schema||'.'||chunk_name as chunk from timescaledb_information.chunks where is_compressed is false and range_end + interval '1 day' < now() and hypertable_name in (select table_name from _timescaledb_catalog.hypertable where compression_state = 1) order by hypertable_name";
constexpr wchar_t kRefused[] = L"connection failed: Connection refused (0x0000274D/10061)";

constexpr std::array kProbing = {3, 7, 10, 14, 15, 18, 22, 34, 40};

bool Probes(int number) { return std::find(kProbing.begin(), kProbing.end(), number) != kProbing.end(); }
bool MaintainsChunks(int number) { return number == 68 || number == 69; }

class PlainVariant : public ScriptedTest {
 protected:
  struct Outcome {
    bool result;
    Texts statements;
  };
  Outcome Call(DbmsType type, const OperationCall& operation) {
    const auto object = NewDbms(type);
    server.Forget();
    const bool result = operation.call(*object);
    return {result, server.Statements()};
  }
  void Install() { server.Answer(kProbe, {{L"16384", L"timescaledb"}}); }
  std::shared_ptr<Dbms> plain = NewDbms(DbmsType::PostgreSQL);
};

TEST_F(PlainVariant, OperationsProbeOrDoWhatTheyDoWithTheExtension) {
  Install();
  for (const int version : {0, 212, 213, 217, 218}) {
    for (const OperationCall& operation : AllOperations()) {
      if (MaintainsChunks(operation.number)) continue;
      SCOPED_TRACE(testing::Message() << operation.name << ", version " << version);
      TimescaleVersion = version;
      const Outcome usual = Call(DbmsType::TirelScada, operation);
      const Outcome outcome = Call(DbmsType::PostgreSQL, operation);
      Texts expected = usual.statements;
      if (Probes(operation.number)) expected.insert(expected.begin(), kProbe);
      EXPECT_EQ(outcome.statements, expected);
      EXPECT_EQ(outcome.result, usual.result);
    }
  }
}

TEST_F(PlainVariant, TheAuditTableIsMadeAfterTheProbe) {
  EXPECT_TRUE(plain->CreateAuditTable());
  EXPECT_EQ(server.Statements(), (Texts{kProbe, kFindAudit, kCreateAudit}));
}

TEST_F(PlainVariant, TheSystemLogIsMadeAfterTheProbe) {
  EXPECT_TRUE(plain->CreateSystemLogTable(10));
  EXPECT_EQ(server.Statements(), (Texts{kProbe, kDetect, kCreateSystemLog}));
}

TEST_F(PlainVariant, EveryProbeRecordsWhetherTheExtensionIsThere) {
  for (const int number : kProbing) {
    const OperationCall& operation = AllOperations()[static_cast<std::size_t>(number - 1)];
    SCOPED_TRACE(operation.name);
    bool& enabled = Access::TimescaleEnabled(*plain);
    EXPECT_FALSE(enabled);
    server.Answer(kProbe, {{L"16384", L"timescaledb"}});
    operation.call(*plain);
    EXPECT_TRUE(enabled);
    server.Answer(kProbe, {});
    operation.call(*plain);
    EXPECT_FALSE(enabled);
  }
}

TEST_F(PlainVariant, APurgeDropsChunksOnlyWhenTheProbeHasFoundTheExtension) {
  const wchar_t* deleteIntervals =
      L"delete from pr_timelist where start_time<NOW()- INTERVAL '30 days' and page_name='Page'";
  EXPECT_TRUE(plain->PurgeTagValueTable(L"Page", 30));
  EXPECT_EQ(server.Statements(),
            (Texts{kProbe, L"delete from Page where time < now() - interval '30 days'", deleteIntervals}));

  Install();
  server.Forget();
  EXPECT_TRUE(plain->PurgeTagValueTable(L"Page", 30));
  EXPECT_EQ(server.Statements(),
            (Texts{kProbe, L"select drop_chunks('Page', INTERVAL '30 days')", deleteIntervals}));
}

TEST_F(PlainVariant, KeepsGoingOnWhenTheProbeFails) {
  for (const bool before : {false, true}) {
    Access::TimescaleEnabled(*plain) = before;
    server.Forget();
    debugLines.clear();
    server.FailStatement(1, {3, 7, L"ERROR:  permission denied for table pg_extension"});
    EXPECT_TRUE(plain->CreateAuditTable());
    EXPECT_EQ(server.Statements(), (Texts{kProbe, kFindAudit, kCreateAudit}));
    EXPECT_EQ(Access::TimescaleEnabled(*plain), before);
    EXPECT_EQ(debugLines, Texts{L"on exception(3, 7) - ERROR:  permission denied for table pg_extension\n"});
  }
}

TEST_F(PlainVariant, AFailureAfterTheProbeEndsTheOperation) {
  Install();
  ASSERT_TRUE(plain->Connect());
  server.FailStatement(2, {3, 7, L"ERROR:  no"});
  EXPECT_FALSE(plain->CreateAuditTable());
  EXPECT_EQ(server.Statements(), (Texts{kProbe, kFindAudit}));
  EXPECT_TRUE(Access::TimescaleEnabled(*plain));
  EXPECT_STREQ(plain->GetLastError(), L"ERROR:  no");
}

TEST_F(PlainVariant, KeepsTryingAServerOutOfReachTwice) {
  server.RefuseConnections({3, 1, L"timeout expired"});
  for (const int number : kProbing) {
    const OperationCall& operation = AllOperations()[static_cast<std::size_t>(number - 1)];
    SCOPED_TRACE(operation.name);
    server.Forget();
    debugLines.clear();
    EXPECT_FALSE(operation.call(*dbms));
    const Texts once = server.connects;
    const Texts toldOnce = debugLines;

    Access::TimescaleEnabled(*plain) = true;
    server.Forget();
    debugLines.clear();
    EXPECT_FALSE(operation.call(*plain));
    EXPECT_TRUE(server.sent.empty());
    EXPECT_EQ(server.connects.size(), once.size() + 1);
    EXPECT_EQ(debugLines.size(), toldOnce.size() + 1);
    EXPECT_TRUE(Access::TimescaleEnabled(*plain));
  }
}

TEST_F(PlainVariant, KeepsAskingForAHostAtBothTries) {
  Texts asked;
  plain->hostSelector = [&](const wchar_t* current) {
    asked.push_back(current);
    return asked.size() == 1 ? L"standby" : L"127.0.0.1";
  };
  server.RefuseConnections({3, 1, kRefused});
  EXPECT_FALSE(plain->CreateAuditTable());
  EXPECT_EQ(asked, (Texts{L"127.0.0.1", L"standby"}));
  EXPECT_EQ(server.connects,
            (Texts{L"127.0.0.1,5432@scada operator secret 10", L"standby,5432@scada operator secret 10"}));
}

TEST_F(PlainVariant, KeepsRecoveringInOneCallWhenTheProbeLosesTheServer) {
  plain->hostSelector = [this](const wchar_t*) {
    server.alive = true;
    return L"standby";
  };
  ASSERT_TRUE(plain->Connect());
  server.alive = false;
  server.FailStatement(1, {3, 7, L"server closed the connection unexpectedly"});
  EXPECT_TRUE(plain->CreateAuditTable());
  EXPECT_EQ(server.Statements(), (Texts{kProbe, kFindAudit, kCreateAudit}));
  EXPECT_EQ(server.connects.back(), L"standby,5432@scada operator secret 10");
}

TEST_F(PlainVariant, ConnectsThroughTheVirtualTable) {
  struct Closed : PostgreSQL {
    using PostgreSQL::PostgreSQL;
    bool Connect() override { return ++calls, false; }
    int calls = 0;
  } closed(L"127.0.0.1", 5432, L"scada", L"operator", L"secret");
  EXPECT_FALSE(closed.CreateAuditTable());
  EXPECT_EQ(closed.calls, 2);
  EXPECT_TRUE(server.connects.empty());
}

TEST_F(PlainVariant, KeepsLeavingChunksAloneWhenTheVersionIsKnown) {
  Install();
  server.Answer(kChunks, {{L"alarm", L"s.c"}});
  for (const int version : {212, 213, 217, 218}) {
    TimescaleVersion = version;
    std::unordered_map<std::wstring, std::vector<std::wstring>> chunks = {{L"datalog", {L"s.d"}}};
    EXPECT_FALSE(plain->GetUncompressedChunkMap(chunks));
    EXPECT_EQ(chunks.size(), 1u);
    EXPECT_FALSE(plain->CompressChunk(L"s.c"));
  }
  EXPECT_TRUE(server.sent.empty());
  EXPECT_TRUE(server.connects.empty());
}

TEST_F(PlainVariant, KeepsMaintainingChunksWhenTheVersionIsUnknown) {
  server.Answer(kChunks, {{L"alarm", L"s.c"}});
  std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
  EXPECT_TRUE(plain->GetUncompressedChunkMap(chunks));
  EXPECT_EQ(chunks[L"alarm"], Texts{L"s.c"});
  EXPECT_TRUE(plain->CompressChunk(L"s.c"));
  EXPECT_EQ(server.Statements(), (Texts{kChunks, L"SELECT compress_chunk('s.c')"}));
}

}  // namespace
