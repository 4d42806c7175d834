#include <SQLAPI.h>

#include <algorithm>

#include "server/DbmsTest.h"

namespace {

using Lines = std::vector<std::string>;
using ChunkMap = std::unordered_map<std::wstring, std::vector<std::wstring>>;

class PlainVariant : public DbmsTest {
 protected:
  void SetUp() override {
    DbmsTest::SetUp();
    dbms = NewDbms(DbmsType::PostgreSQL);
  }
  bool LastErrorHolds(const wchar_t* text) {
    return std::wstring(dbms->GetLastError()).find(text) != std::wstring::npos;
  }
  // Makes later sessions see a table of the test as the server's list of extensions.
  void PretendTheExtension() {
    SetForSessions("search_path to public, pg_catalog");
    Run("create table public.pg_extension (extname text)");
    Run("insert into public.pg_extension values ('timescaledb')");
  }
  // The tables of a page with an old and a new value.
  void MakePage() {
    ASSERT_TRUE(dbms->CreateTagValueTable(L"page"));
    ASSERT_TRUE(dbms->CreatePageTimeListTable());
    Run("insert into page values (now() - interval '31 days', 'A', 'old'), (now(), 'A', 'new')");
  }
  std::shared_ptr<Dbms> dbms;
};

TEST_F(PlainVariant, WithoutTheExtensionTablesAreMade) {
  EXPECT_TRUE(dbms->CreateSystemLogTable(10));
  EXPECT_TRUE(dbms->CreateLogTable(10));
  EXPECT_TRUE(dbms->CreateUserLogTable(L"batch", {{L"n", 0, 0}}, 10));
  EXPECT_TRUE(dbms->CreateAlarmTable(10));
  EXPECT_TRUE(dbms->CreateTagValueTable(L"Page"));
  EXPECT_TRUE(dbms->CreatePageTimeListTable());
  EXPECT_TRUE(dbms->CreateReportDataTables(10));
  EXPECT_TRUE(dbms->CreateAuditTable());
  EXPECT_EQ(Rows("select table_name from information_schema.tables where table_schema = 'public' order by 1"),
            (Lines{"alarm", "audit_table", "datalog", "page", "pr_timelist", "report_data_analog_day",
                   "report_data_analog_hour", "report_data_analog_minute", "report_data_analog_month",
                   "report_data_analog_year", "report_data_digital_day", "report_data_digital_hour",
                   "report_data_digital_minute", "report_data_digital_month", "report_data_digital_year",
                   "report_data_time", "system_log", "user_batch"}));
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(PlainVariant, WithoutTheExtensionOldValuesAreDeleted) {
  MakePage();
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(Rows("select tag_value from page"), Lines{"new"});

  // The other variant assumes the extension.
  const auto usual = NewDbms();
  EXPECT_FALSE(usual->PurgeTagValueTable(L"page", 30));
  EXPECT_NE(
      std::wstring(usual->GetLastError()).find(L"function drop_chunks(unknown, interval) does not exist"),
      std::wstring::npos);
}

TEST_F(PlainVariant, WithTheExtensionOldChunksAreDroppedUntilItIsGone) {
  MakePage();
  Run("create table dropped (name text, age interval)");
  Run("create function drop_chunks(text, interval) returns void language sql as "
      "'insert into dropped values ($1, $2)'");
  PretendTheExtension();
  dbms = NewDbms(DbmsType::PostgreSQL);
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(Rows("select * from dropped"), Lines{"page|30 days"});
  EXPECT_EQ(Value("select count(*) from page"), "2");

  Run("delete from public.pg_extension");
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_EQ(Rows("select tag_value from page"), Lines{"new"});
}

TEST_F(PlainVariant, AProbeThatTheServerRefusesChangesNothing) {
  MakePage();
  PretendTheExtension();
  Run("create table dropped (name text)");
  Run("create function drop_chunks(text, interval) returns void language sql as 'insert into dropped values ($1)'");
  dbms = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(dbms->PurgeTagValueTable(L"page", 30));

  Run("alter table public.pg_extension rename extname to other");
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"page", 30));
  EXPECT_TRUE(LastErrorHolds(L"column \"extname\" does not exist"));
  EXPECT_EQ(Value("select count(*) from dropped"), "2");
}

TEST_F(PlainVariant, AServerOutOfReachMakesNothing) {
  const auto nowhere = Dbms::GetDbms(DbmsType::PostgreSQL, L"127.0.0.1", 1, L"d", L"u", L"p");
  Lines asked;
  nowhere->hostSelector = [&](const wchar_t*) {
    asked.push_back("asked");
    return L"127.0.0.1";
  };
  EXPECT_FALSE(nowhere->CreateAuditTable());
  // Both the probe and the operation have tried to connect.
  EXPECT_EQ(asked.size(), 2u);
  EXPECT_NE(std::wstring(nowhere->GetLastError()).find(L"10061"), std::wstring::npos);
}

TEST_F(PlainVariant, AServerThatWentAwayIsFoundAgainInOneCall) {
  ASSERT_TRUE(dbms->CreateAuditTable());
  Run("select pg_terminate_backend(pid, 10000) from " + std::string(kOtherBackends) + " others");
  EXPECT_TRUE(dbms->CreateAuditTable());

  // The other variant notices the loss in this call and connects in the next.
  const auto usual = NewDbms();
  ASSERT_TRUE(usual->CreateAuditTable());
  Run("select pg_terminate_backend(pid, 10000) from " + std::string(kOtherBackends) + " others");
  EXPECT_FALSE(usual->CreateAuditTable());
  EXPECT_TRUE(usual->CreateAuditTable());
}

TEST_F(PlainVariant, KeepsSendingChunkStatementsThatTheServerRefuses) {
  ChunkMap chunks = {{L"alarm", {}}};
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_TRUE(LastErrorHolds(L"relation \"timescaledb_information.chunks\" does not exist"));
  EXPECT_FALSE(dbms->CompressChunk(L"s.c"));
  EXPECT_TRUE(LastErrorHolds(L"function compress_chunk(unknown) does not exist"));
  EXPECT_TRUE(dbms->GetConnection()->isConnected());
}

TEST_F(PlainVariant, KeepsListingAndCompressingChunksWhileTheVersionIsUnknown) {
  Run("create schema timescaledb_information; create schema _timescaledb_catalog");
  Run("create table timescaledb_information.chunks (hypertable_name name, chunk_schema name, chunk_name name, "
      "range_end timestamptz, is_compressed bool)");
  Run("create table _timescaledb_catalog.hypertable (table_name name, compression_state int2)");
  Run("insert into _timescaledb_catalog.hypertable values ('datalog', 1), ('alarm', 1), ('plain', 0)");
  Run("insert into timescaledb_information.chunks values "
      "('datalog', 's', 'c1', now() - interval '2 days', false), ('datalog', 's', 'young', now(), false), "
      "('datalog', 's', 'done', now() - interval '2 days', true), "
      "('plain', 's', 'c2', now() - interval '2 days', false), ('alarm', 's', 'c3', '2020-01-01', false), "
      "('datalog', 's', 'c4', now() - interval '25 hours', false)");
  Run("create table compressed (chunk text)");
  Run("create function compress_chunk(text) returns void language sql as 'insert into compressed values ($1)'");

  ChunkMap chunks = {{L"alarm", {L"before"}}};
  EXPECT_TRUE(dbms->GetUncompressedChunkMap(chunks));
  std::sort(chunks[L"datalog"].begin(), chunks[L"datalog"].end());
  EXPECT_EQ(chunks, (ChunkMap{{L"alarm", {L"before", L"s.c3"}}, {L"datalog", {L"s.c1", L"s.c4"}}}));
  EXPECT_TRUE(dbms->CompressChunk(L"s.c1"));
  EXPECT_EQ(Rows("select * from compressed"), Lines{"s.c1"});
}

}  // namespace
