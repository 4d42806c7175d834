// The variant for servers that may lack the extension, on one that has it and in a database that does not.

#include "TimescaleTest.h"

namespace {

class PlainVariant : public TimescaleTest {};

TEST_F(PlainVariant, UsesTheExtensionWhereItIsInstalled) {
  const auto dbms = NewDbms(DbmsType::PostgreSQL);
  EXPECT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
  EXPECT_TRUE(dbms->CreatePageTimeListTable()) << dbms->GetLastError();
  EXPECT_EQ(
      Value("select count(*) from timescaledb_information.hypertables where hypertable_schema = 'public'"),
      "3");

  // Two rows of one old chunk: dropped whole.
  EXPECT_TRUE(dbms->InsertTagValues(L"Page", {{1700000000000, L"A", L"1"}, {1700000000001, L"A", L"2"}}));
  EXPECT_TRUE(dbms->PurgeTagValueTable(L"Page", 30)) << dbms->GetLastError();
  EXPECT_EQ(Value("select count(*) from show_chunks('page')"), "0");
}

TEST_F(PlainVariant, KeepsChunkMaintenanceOffWhileTheVersionIsKnown) {
  const auto dbms = NewDbms(DbmsType::PostgreSQL);
  ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->InsertLogData({{1700000000123, L"PUMP", 1}})) << dbms->GetLastError();
  std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_TRUE(chunks.empty());
  EXPECT_FALSE(dbms->CompressChunk(L"_timescaledb_internal._hyper_1_1_chunk"));
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(PlainVariant, WorksInADatabaseWithoutTheExtension) {
  InFreshProcess([this] {
    Run("drop extension timescaledb");
    const auto dbms = NewUntoldDbms(DbmsType::PostgreSQL);
    EXPECT_TRUE(dbms->CreateSystemLogTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreatePageTimeListTable()) << dbms->GetLastError();
    EXPECT_TRUE(dbms->InsertTagValues(L"Page", {{1700000000000, L"A", L"1"}})) << dbms->GetLastError();
    EXPECT_TRUE(dbms->PurgeTagValueTable(L"Page", 30)) << dbms->GetLastError();
    EXPECT_EQ(Value("select count(*) from page"), "0");
  });
}

}  // namespace
