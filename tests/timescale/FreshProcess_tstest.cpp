// Operations before CreateSystemLogTable has run in the process.

#include <algorithm>
#include <thread>

#include "TimescaleTest.h"

namespace {

const std::vector<UserLogColumn> kColumns = {{L"number", 0, 0}};

class FreshProcess : public TimescaleTest {
 protected:
  std::string Hypertables() {
    return Value(
        "select count(*) from timescaledb_information.hypertables where hypertable_schema = 'public'");
  }
};

TEST_F(FreshProcess, TablesStayPlain) {
  InFreshProcess([this] {
    const auto dbms = NewUntoldDbms();
    EXPECT_TRUE(dbms->CreateLogTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateReportDataTables(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAuditTable()) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateTagValueTable(L"Page")) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateUserLogTable(L"batches", kColumns, 10)) << dbms->GetLastError();
    EXPECT_EQ(Hypertables(), "0");
  });
}

TEST_F(FreshProcess, AnEmptyPlainTableBecomesAHypertableLater) {
  InFreshProcess([this] {
    const auto dbms = NewUntoldDbms();
    EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateSystemLogTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    EXPECT_EQ(Hypertables(), "2");
    EXPECT_EQ(Retention("alarm"), "10 days");
  });
}

TEST_F(FreshProcess, APlainTableWithRowsIsRefusedLater) {
  InFreshProcess([this] {
    const auto dbms = NewUntoldDbms();
    EXPECT_TRUE(dbms->CreateAlarmTable(10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->InsertAlarm(1700000000123, L"A", 1, L"high", 0, 0, 1, 0, 1700000000123, 0));
    EXPECT_TRUE(dbms->CreateSystemLogTable(10)) << dbms->GetLastError();
    ExpectFailure(dbms->CreateAlarmTable(10), *dbms, L"table \"alarm\" is not empty");
    EXPECT_EQ(Value("select count(*) from alarm"), "1");
  });
}

TEST_F(FreshProcess, APlainUserLogTableStaysPlain) {
  InFreshProcess([this] {
    const auto dbms = NewUntoldDbms();
    EXPECT_TRUE(dbms->CreateUserLogTable(L"batches", kColumns, 10)) << dbms->GetLastError();
    EXPECT_TRUE(dbms->CreateSystemLogTable(10)) << dbms->GetLastError();
    WaitUntil("select count(*) = 1 from pg_stat_user_tables where relname = 'user_batches'");
    ExpectFailure(dbms->CreateUserLogTable(L"batches", kColumns, 10), *dbms,
                  L"\"user_batches\" is not a hypertable or a continuous aggregate");
    EXPECT_EQ(Hypertables(), "1");
  });
}

TEST_F(FreshProcess, OnceFoundTheExtensionIsExpectedInEveryDatabase) {
  InFreshProcess([this] {
    NewDbms();
    Run("drop extension timescaledb cascade");
    const auto elsewhere = NewUntoldDbms();
    ExpectFailure(elsewhere->CreateAlarmTable(10), *elsewhere, L"does not exist");
  });
}

TEST_F(FreshProcess, WhatFourProgramsCreateAtOnceIsCompleteAfterASecondCall) {
  const auto create = [](Dbms& dbms) {
    const bool results[] = {dbms.CreateSystemLogTable(10), dbms.CreateLogTable(0), dbms.CreateAlarmTable(10),
                            dbms.CreateReportDataTables(10), dbms.CreateAuditTable()};
    return std::count(std::begin(results), std::end(results), false);
  };
  InFreshProcess([&] {
    std::vector<std::shared_ptr<Dbms>> programs;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
      programs.push_back(NewUntoldDbms());
      threads.emplace_back([&create, dbms = programs.back()] { create(*dbms); });
    }
    for (std::thread& thread : threads) thread.join();
    for (const auto& dbms : programs) EXPECT_EQ(create(*dbms), 0) << dbms->GetLastError();
    EXPECT_EQ(Hypertables(), "8");
  });
}

TEST_F(FreshProcess, ChunksAreListedAndCompressedInTheOldForm) {
  InFreshProcess([this] {
    const auto dbms = NewUntoldDbms();
    std::unordered_map<std::wstring, std::vector<std::wstring>> chunks;
    EXPECT_FALSE(dbms->GetUncompressedChunkMap(chunks));
    EXPECT_STREQ(dbms->GetLastError(), L"");
    ExpectFailure(dbms->CompressChunk(L"public.nothing"), *dbms, L"public.nothing");
  });
}

}  // namespace
