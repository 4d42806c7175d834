// A batch that cannot be stored leaves nothing in the database, and the object stays usable.

#include <DbmsAPI/Diagnostics.h>

#include <cfloat>

#include "server/history/HistoryTest.h"

namespace {

constexpr std::int64_t kStartMs = 1700000000000;

std::vector<LogSample> Batch(int count) {
  std::vector<LogSample> samples;
  for (int i = 0; i < count; ++i)
    samples.push_back({kStartMs + i, L"TAG." + std::to_wstring(i % 100), i * 0.5});
  return samples;
}

class TagHistoryFailures : public HistoryTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(dbms->CreateLogTable(0)) << Error();
  }
  std::string Count() { return Value("select count(*) from datalog"); }
  // Ends the server process of the object's connection.
  void KillBackend() {
    Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " as backends");
    WaitUntil("select not exists " + std::string(kOtherBackends));
  }
  // The next batch is stored: the session is usable and holds nothing of the last batch.
  void ExpectToGoOn() {
    EXPECT_TRUE(dbms->InsertLogData({{kStartMs - 1, L"after", 1}})) << Error();
    EXPECT_EQ(Rows("select tag_name from datalog where tag_name = 'after'"),
              std::vector<std::string>{"after"});
  }
};

TEST_F(TagHistoryFailures, AKilledBackendCostsOneCall) {
  ASSERT_TRUE(dbms->InsertLogData(Batch(1000))) << Error();
  KillBackend();
  EXPECT_FALSE(dbms->InsertLogData(Batch(2000)));
  EXPECT_STRNE(dbms->GetLastError(), L"");
  EXPECT_EQ(Count(), "1000");
  EXPECT_TRUE(dbms->InsertLogData(Batch(2000))) << Error();
  EXPECT_EQ(Count(), "2000");
}

TEST_F(TagHistoryFailures, AKilledBackendAsksForAnotherHost) {
  std::vector<std::wstring> asked;
  const std::wstring host = Host();
  dbms->hostSelector = [&](const wchar_t* current) {
    asked.emplace_back(current);
    return host.c_str();
  };
  ASSERT_TRUE(dbms->InsertLogData(Batch(10))) << Error();
  KillBackend();
  EXPECT_FALSE(dbms->InsertLogData(Batch(20)));
  EXPECT_EQ(asked, std::vector<std::wstring>{host});
  EXPECT_TRUE(dbms->InsertLogData(Batch(20))) << Error();
  EXPECT_EQ(asked.size(), 1u);
  EXPECT_EQ(Count(), "20");
}

TEST_F(TagHistoryFailures, AKilledBackendCostsAQueryOneCallToo) {
  ASSERT_TRUE(dbms->InsertLogData(Batch(10))) << Error();
  KillBackend();
  std::int64_t oldest = 0;
  EXPECT_FALSE(dbms->GetOldestLogTime(oldest));
  EXPECT_TRUE(dbms->GetOldestLogTime(oldest)) << Error();
  EXPECT_EQ(oldest, kStartMs / 1000);
}

TEST_F(TagHistoryFailures, ATriggerThatRefusesASampleRefusesItsBatch) {
  Run("create function refuse() returns trigger language plpgsql as $$ begin "
      "if new.tag_name = 'TAG.57' then raise exception 'not this one'; end if; return new; end $$;"
      "create trigger refuse before insert on datalog for each row execute function refuse()");
  EXPECT_FALSE(dbms->InsertLogData(Batch(100000)));
  EXPECT_TRUE(Holds(Error(), "not this one")) << Error();
  EXPECT_EQ(LastSqlState(*dbms), "P0001");
  EXPECT_EQ(Count(), "0");
  ExpectToGoOn();
  Run("drop trigger refuse on datalog");
  EXPECT_TRUE(dbms->InsertLogData(Batch(100000))) << Error();
  EXPECT_EQ(Count(), "100001");
}

TEST_F(TagHistoryFailures, ATableThatIsGoneRefusesTheBatch) {
  Run("drop table datalog");
  EXPECT_FALSE(dbms->InsertLogData(Batch(100)));
  EXPECT_TRUE(Holds(Error(), "relation \\\"datalog\\\" does not exist")) << Error();
  ASSERT_TRUE(dbms->CreateLogTable(0)) << Error();
  EXPECT_EQ(Count(), "0");
  ExpectToGoOn();
}

// The server refuses it during the COPY.
TEST_F(TagHistoryFailures, ANameWithANulCharacterRefusesItsBatch) {
  std::vector<LogSample> samples = Batch(200000);
  samples[150000].tagName = std::wstring(L"nul\0nul", 7);
  EXPECT_FALSE(dbms->InsertLogData(samples));
  EXPECT_TRUE(Holds(Error(), "invalid byte sequence")) << Error();
  EXPECT_EQ(LastSqlState(*dbms), "22021");
  EXPECT_EQ(Count(), "0");
  ExpectToGoOn();
}

// Rounding to ten digits moves the last values out of the range.
TEST_F(TagHistoryFailures, KeepsRefusingABatchWithAValueThatRoundsBeyondTheRange) {
  std::vector<LogSample> samples = Batch(10);
  samples[5].value = -DBL_MAX;
  EXPECT_FALSE(dbms->InsertLogData(samples));
  EXPECT_TRUE(Holds(Error(), "is out of range for type double precision")) << Error();
  EXPECT_EQ(Count(), "0");
  samples[5].value = -1.797693134e308;
  EXPECT_TRUE(dbms->InsertLogData(samples)) << Error();
  EXPECT_EQ(Count(), "10");
}

TEST_F(TagHistoryFailures, TheErrorTextQuotesNoRow) {
  Run("alter table datalog add constraint no_secrets check (tag_name <> 'TAG.57')");
  EXPECT_FALSE(dbms->InsertLogData(Batch(100)));
  EXPECT_TRUE(Holds(Error(), "violates check constraint \\\"no_secrets\\\"")) << Error();
  EXPECT_FALSE(Holds(Error(), "TAG.57")) << Error();
  EXPECT_FALSE(Holds(Error(), "DETAIL")) << Error();
  EXPECT_EQ(LastSqlState(*dbms), "23514");
}

}  // namespace
