// A connection that is lost during a batch.

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include <future>

#include "server/ProtocolTap.h"
#include "server/history/HistoryTest.h"

namespace {

// Rows wait in a trigger until the test releases them.
constexpr char kHold[] =
    "create function hold() returns trigger language plpgsql as "
    "$$ begin perform pg_advisory_xact_lock(1); return new; end $$";
constexpr char kIsHeld[] =
    "select exists (select from pg_stat_activity where datname = current_database() and wait_event = 'advisory')";

std::vector<LogSample> Batch() {
  std::vector<LogSample> samples;
  for (int i = 0; i < 100000; ++i) samples.push_back({1700000000000 + i, L"TAG", i * 0.5});
  return samples;
}

class TagHistoryLostLink : public HistoryTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(HistoryTest::SetUp());
    ASSERT_TRUE(dbms->CreateLogTable(0)) << Error();
    Run(kHold);
    Run("select pg_advisory_lock(1)");
  }
  void RecordAskedHosts() {
    dbms->hostSelector = [this](const wchar_t* current) {
      asked.emplace_back(current);
      textWhenAsked = dbms->GetLastError();
      return current;
    };
  }
  // Stores a batch on another thread, and runs `cut` while the server holds it.
  template <class Cut>
  bool InsertAndCut(Cut cut) {
    auto inserted = std::async(std::launch::async, [&] { return dbms->InsertLogData(Batch()); });
    WaitUntil(kIsHeld);
    cut();
    return inserted.get();
  }
  void ExpectNothingStored() {
    Run("select pg_advisory_unlock(1)");
    WaitUntil("select not exists " + std::string(kOtherBackends));
    EXPECT_EQ(Value("select count(*) from datalog"), "0");
  }
  std::vector<std::wstring> asked;
  std::wstring textWhenAsked;
};

TEST_F(TagHistoryLostLink, CutInTheMiddleOfCopy) {
  const std::wstring host = Host();
  ProtocolTap tap(std::string(host.begin(), host.end()), Port());
  dbms = Dbms::GetDbms(DbmsType::TirelScada, L"127.0.0.1", tap.Port(),
                       (L"dbname=" + Database() + L" sslmode=disable gssencmode=disable").c_str(),
                       User().c_str(), Password().c_str());
  RecordAskedHosts();
  ASSERT_TRUE(dbms->Connect()) << Error();
  SACommand(dbms->GetConnection().get(),
            L"create temp table _tmp_dl (time_epoch float8, tag_name text, value float8)")
      .Execute();
  SACommand(dbms->GetConnection().get(),
            L"create trigger hold before insert on _tmp_dl for each row execute function hold()")
      .Execute();

  EXPECT_FALSE(InsertAndCut([&] { tap.Stop(); }));
  EXPECT_NE(textWhenAsked, L"");
  EXPECT_EQ(dbms->GetLastError(), textWhenAsked);
  EXPECT_EQ(LastSqlState(*dbms), "");
  EXPECT_EQ(asked, std::vector<std::wstring>{L"127.0.0.1"});
  ExpectNothingStored();
}

TEST_F(TagHistoryLostLink, BackendKilledDuringTheInsert) {
  Run("create trigger hold before insert on datalog for each row execute function hold()");
  RecordAskedHosts();
  ASSERT_TRUE(dbms->Connect()) << Error();

  EXPECT_FALSE(InsertAndCut(
      [&] { Run("select pg_terminate_backend(pid) from " + std::string(kOtherBackends) + " as backends"); }));
  EXPECT_TRUE(Holds(Error(), "server closed the connection unexpectedly")) << Error();
  EXPECT_EQ(dbms->GetLastError(), textWhenAsked);
  EXPECT_EQ(asked, std::vector<std::wstring>{Host()});
  ExpectNothingStored();
  EXPECT_TRUE(dbms->InsertLogData(Batch())) << Error();
  EXPECT_EQ(Value("select count(*) from datalog"), "100000");
}

}  // namespace
