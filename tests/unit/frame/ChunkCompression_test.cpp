#include <SQLAPI.h>

#include "DbmsAPI/frame/Timescale.h"
#include "HypertableTexts.h"
#include "scripted/ScriptedTest.h"

namespace {

using ChunkMap = std::unordered_map<std::wstring, std::vector<std::wstring>>;

constexpr wchar_t kChunks[] =
    L"select hypertable_name, chunk_schema||'.'||chunk_name as chunk from timescaledb_information.chunks where is_compressed is false and range_end + interval '1 day' < now() and hypertable_name in (select table_name from _timescaledb_catalog.hypertable where compression_state = 1) order by hypertable_name";

const scripted::Rows kThreeChunks = {{L"alarm", L"_timescaledb_internal._hyper_2_9_chunk"},
                                     {L"datalog", L"_timescaledb_internal._hyper_1_7_chunk"},
                                     {L"datalog", L"_timescaledb_internal._hyper_1_3_chunk"}};

class ChunkCompression : public ScriptedTest {};

TEST_F(ChunkCompression, ChunksAreListedByTableInTheServersOrder) {
  server.Answer(kChunks, kThreeChunks);
  ChunkMap chunks;
  EXPECT_TRUE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_EQ(server.Statements(), Texts{kChunks});
  EXPECT_EQ(
      chunks,
      (ChunkMap{{L"alarm", {L"_timescaledb_internal._hyper_2_9_chunk"}},
                {L"datalog",
                 {L"_timescaledb_internal._hyper_1_7_chunk", L"_timescaledb_internal._hyper_1_3_chunk"}}}));
}

TEST_F(ChunkCompression, TheQueryIsTheSameForEveryVersion) {
  for (const int version : {0, 212, 213, 217, 218}) {
    TimescaleVersion = version;
    server.Forget();
    ChunkMap chunks;
    EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
    EXPECT_EQ(server.Statements(), Texts{kChunks});
  }
}

TEST_F(ChunkCompression, NoChunksAndAnEmptyMapAreFalse) {
  ChunkMap chunks;
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_TRUE(chunks.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(ChunkCompression, KeepsCountingWhatTheCallerLeftInTheMap) {
  ChunkMap chunks = {{L"alarm", {}}};
  EXPECT_TRUE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_EQ(chunks, (ChunkMap{{L"alarm", {}}}));
}

TEST_F(ChunkCompression, NewNamesGoAfterOldOnes) {
  server.Answer(kChunks, kThreeChunks);
  ChunkMap chunks = {{L"alarm", {L"old"}}};
  EXPECT_TRUE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_EQ(chunks[L"alarm"], (Texts{L"old", L"_timescaledb_internal._hyper_2_9_chunk"}));
}

TEST_F(ChunkCompression, ChunksReadBeforeAFailureStay) {
  server.FailAfterRows(kChunks, kThreeChunks, 2);
  ChunkMap chunks;
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_EQ(chunks, (ChunkMap{{L"alarm", {L"_timescaledb_internal._hyper_2_9_chunk"}},
                              {L"datalog", {L"_timescaledb_internal._hyper_1_7_chunk"}}}));
}

TEST_F(ChunkCompression, AServerOutOfReachIsFalseWhateverTheMapHolds) {
  server.RefuseConnections({3, 1, L"refused"});
  ChunkMap chunks = {{L"alarm", {L"old"}}};
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_FALSE(dbms->CompressChunk(L"c"));
  EXPECT_TRUE(server.sent.empty());
}

TEST_F(ChunkCompression, AChunkIsCompressedInTheDialectOfTheVersion) {
  const std::pair<int, const wchar_t*> cases[] = {{0, L"SELECT compress_chunk('s.c')"},
                                                  {212, L"SELECT compress_chunk('s.c')"},
                                                  {213, L"SELECT compress_chunk('s.c')"},
                                                  {217, L"SELECT compress_chunk('s.c')"},
                                                  {218, L"CALL convert_to_columnstore('s.c')"}};
  for (const auto& [version, statement] : cases) {
    TimescaleVersion = version;
    server.Forget();
    EXPECT_TRUE(dbms->CompressChunk(L"s.c"));
    EXPECT_EQ(server.Statements(), Texts{statement});
  }
}

TEST_F(ChunkCompression, AChunkThatIsCompressedAlreadyIsAFailureLikeAnyOther) {
  ASSERT_TRUE(dbms->Connect());
  server.FailStatement(1, {3, 7, L"ERROR:  chunk \"c\" is already compressed"});
  EXPECT_FALSE(dbms->CompressChunk(L"s.c"));
  EXPECT_STREQ(dbms->GetLastError(), L"ERROR:  chunk \"c\" is already compressed");
  EXPECT_TRUE(dbms->GetConnection()->isConnected());
}

}  // namespace
