// Chunks: listed, compressed, written to again, dropped.

#include <algorithm>
#include <chrono>

#include "TimescaleTest.h"

namespace {

using ChunkMap = std::unordered_map<std::wstring, std::vector<std::wstring>>;

constexpr std::int64_t kDayMs = 86'400'000;

std::int64_t TodayMs() {
  using namespace std::chrono;
  return duration_cast<milliseconds>(system_clock::now().time_since_epoch()).count() / kDayMs * kDayMs;
}

class Chunks : public TimescaleTest {
 protected:
  void SetUp() override {
    TimescaleTest::SetUp();
    dbms = NewDbms();
    ASSERT_TRUE(dbms->CreateLogTable(0)) << dbms->GetLastError();
  }

  // Samples of one tag at noon of each day from 12 to 3 days ago, `perDay` a day.
  static std::vector<LogSample> Days(int perDay, std::int64_t offsetMs = 0) {
    std::vector<LogSample> samples;
    for (std::int64_t day = 12; day >= 3; --day) {
      for (int i = 0; i < perDay; ++i) {
        samples.push_back({TodayMs() - day * kDayMs + kDayMs / 2 + i * 1000 + offsetMs, L"PUMP", 1.0 * i});
      }
    }
    return samples;
  }

  void CompressAll() {
    ChunkMap chunks;
    ASSERT_TRUE(dbms->GetUncompressedChunkMap(chunks)) << dbms->GetLastError();
    for (const auto& [table, names] : chunks) {
      for (const std::wstring& name : names)
        ASSERT_TRUE(dbms->CompressChunk(name.c_str())) << dbms->GetLastError();
    }
  }

  std::shared_ptr<Dbms> dbms;
};

TEST_F(Chunks, WithoutOldOnesThereIsNothingToDo) {
  ChunkMap chunks;
  EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
  EXPECT_TRUE(chunks.empty());
  EXPECT_STREQ(dbms->GetLastError(), L"");
}

TEST_F(Chunks, TheyLeaveTheListOneByOne) {
  ASSERT_TRUE(dbms->InsertLogData(Days(20))) << dbms->GetLastError();
  ChunkMap chunks;
  ASSERT_TRUE(dbms->GetUncompressedChunkMap(chunks)) << dbms->GetLastError();
  ASSERT_EQ(chunks.size(), 1u);
  ASSERT_EQ(chunks[L"datalog"].size(), 10u);

  std::size_t left = 10;
  for (const std::wstring& chunk : chunks[L"datalog"]) {
    ASSERT_TRUE(dbms->CompressChunk(chunk.c_str())) << dbms->GetLastError();
    ChunkMap rest;
    EXPECT_EQ(dbms->GetUncompressedChunkMap(rest), --left > 0);
    EXPECT_EQ(rest[L"datalog"].size(), left);
    EXPECT_EQ(std::count(rest[L"datalog"].begin(), rest[L"datalog"].end(), chunk), 0);
  }
  EXPECT_EQ(Value("select count(*) from datalog"), "200");
  std::unordered_map<std::wstring, std::vector<LogPoint>> data = {{L"PUMP", {}}};
  ASSERT_TRUE(dbms->GetLogData(0, TodayMs() / 1000, data)) << dbms->GetLastError();
  EXPECT_EQ(data[L"PUMP"].size(), 200u);
}

TEST_F(Chunks, ACompressedOneIsRefusedUpTo213) {
  ASSERT_TRUE(dbms->InsertLogData(Days(5))) << dbms->GetLastError();
  ChunkMap chunks;
  ASSERT_TRUE(dbms->GetUncompressedChunkMap(chunks));
  const wchar_t* chunk = chunks[L"datalog"].front().c_str();
  ASSERT_TRUE(dbms->CompressChunk(chunk)) << dbms->GetLastError();
  const bool again = dbms->CompressChunk(chunk);
  if (release() >= Release{2, 14, 0}) {
    EXPECT_TRUE(again) << dbms->GetLastError();
  } else {
    ExpectFailure(again, *dbms, L"is already compressed");
  }
}

TEST_F(Chunks, SamplesSentAgainIntoCompressedOnesAreStoredOnce) {
  ASSERT_TRUE(dbms->InsertLogData(Days(20))) << dbms->GetLastError();
  CompressAll();
  EXPECT_TRUE(dbms->InsertLogData(Days(20))) << dbms->GetLastError();
  EXPECT_EQ(Value("select count(*) from datalog"), "200");
}

TEST_F(Chunks, NewSamplesReachCompressedOnesUnlessAReleaseLosesThem) {
  ASSERT_TRUE(dbms->InsertLogData(Days(5))) << dbms->GetLastError();
  CompressAll();
  // One batch with old and new samples; the result is true on every release.
  std::vector<LogSample> mixed = Days(5);
  for (const LogSample& sample : Days(15, 5000)) mixed.push_back(sample);
  EXPECT_TRUE(dbms->InsertLogData(mixed)) << dbms->GetLastError();
  const int stored = std::stoi(Value("select count(*) from datalog"));
  if (release() >= Release{2, 16, 0} && release() <= Release{2, 18, 0}) {
    EXPECT_LT(stored, 200) << "these releases stop at the first conflict";
  } else {
    EXPECT_EQ(stored, 200);
  }
}

// For each late sample, 2.14 decompresses the thousand samples around it, and a statement may decompress at
// most 100,000.
TEST_F(Chunks, LateSamplesAreStoredUnlessAReleaseDecompressesTooMany) {
  Run("insert into datalog select date_trunc('day', now()) - interval '5 days' + i * interval '500 ms', 'PUMP', i "
      "from generate_series(0, 119999) i");
  CompressAll();
  std::vector<LogSample> late;
  for (int i = 0; i < 120; ++i)
    late.push_back({TodayMs() - 5 * kDayMs + i * 500'000 + 250, L"PUMP", 1.0 * i});
  if (release() >= Release{2, 14, 0} && release() < Release{2, 16, 0}) {
    for (int i = 0; i < 2; ++i)
      ExpectFailure(dbms->InsertLogData(late), *dbms, L"tuple decompression limit exceeded");
    EXPECT_EQ(Value("select count(*) from datalog"), "120000");
    Run("alter database " + Value("select current_database()") +
        " set timescaledb.max_tuples_decompressed_per_dml_transaction = 0");
    dbms = NewDbms();
  }
  EXPECT_TRUE(dbms->InsertLogData(late)) << dbms->GetLastError();
  EXPECT_EQ(Value("select count(*) from datalog"), "120120");
}

TEST_F(Chunks, APurgeDropsThem) {
  ASSERT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
  ASSERT_TRUE(dbms->CreatePageTimeListTable()) << dbms->GetLastError();
  std::vector<TagValueRecord> records;
  for (std::int64_t day = 12; day >= 0; --day) records.push_back({TodayMs() - day * kDayMs + 1, L"A", L"1"});
  ASSERT_TRUE(dbms->InsertTagValues(L"Page", records)) << dbms->GetLastError();
  ASSERT_TRUE(dbms->InsertPageTimeList(L"Page", TodayMs() - 12 * kDayMs, {L"op"}));
  ASSERT_TRUE(dbms->InsertPageTimeList(L"Page", TodayMs(), {L"op"}));

  EXPECT_TRUE(dbms->PurgeTagValueTable(L"Page", 6)) << dbms->GetLastError();
  // A chunk is dropped only when all of it is old enough, so a sample at the beginning of a day that began
  // more than six days ago may still be there.
  EXPECT_EQ(Value("select count(*) from page"), "7");
  EXPECT_EQ(Value("select count(*) from pr_timelist"), "1");
}

}  // namespace
