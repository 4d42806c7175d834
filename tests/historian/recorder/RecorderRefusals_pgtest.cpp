// Refusals of the server: single records, the program, the role.

#include <atomic>
#include <chrono>
#include <cmath>
#include <limits>
#include <thread>

#include "historian/recorder/RecorderTest.h"
#include "historian/recorder/Sqlite.h"

namespace historian {
namespace {

using Names = std::vector<std::string>;

class RecorderRefusals : public RecorderTest {
 protected:
  // The records that the spool has set aside, with their SQLSTATEs.
  Names SetAside() {
    recorder::SqliteDatabase spool(directory.File(), recorder::SqliteDatabase::Access::ReadOnly);
    auto rows = spool.Prepare("select sqlstate || ' ' || record from set_aside order by 1");
    Names names;
    while (rows.Step()) names.emplace_back(rows.Bytes(0));
    return names;
  }

  // An object that uses an account without privileges, except those given.
  std::shared_ptr<Dbms> Restricted(const std::string& grants) {
    account_ = "recorder_" + Value("select current_database()");
    Run("create role " + account_ + " login password 'secret'");
    Run("grant usage on schema public to " + account_);
    Run("revoke create on schema public from public");  // up to PostgreSQL 14 every account may
    if (!grants.empty()) Run("grant " + grants + " to " + account_);
    return Dbms::GetDbms(DbmsType::TirelScada, Host().c_str(), Port(), Database().c_str(),
                         std::wstring(account_.begin(), account_.end()).c_str(), L"secret");
  }
  void TearDown() override {
    if (!account_.empty()) Run("drop owned by " + account_ + "; drop role " + account_);
    RecorderTest::TearDown();
  }

  std::string account_;
};

TEST_F(RecorderRefusals, OneBadSampleAmongTenThousandIsSetAside) {
  Recorder recorder(NewDbms(), Options());
  const auto good = Samples(0, 9997);
  auto all = good;
  all.insert(all.begin() + 17, {kFirstMs, std::wstring(L"NUL\0NAME", 8), 1});
  all.insert(all.begin() + 5000, {std::numeric_limits<std::int64_t>::max(), L"NEVER", 2});
  all.push_back({kFirstMs, std::wstring(20000, L'x') + L"\U0001F525", 3});
  ASSERT_TRUE(recorder.Record(all));
  ExpectAllSettled(recorder);

  const auto stored = Rows(
      "select (extract(epoch from time) * 1000)::bigint, tag_name, value from datalog where length(tag_name) < 100"
      " order by 1, 2");
  EXPECT_EQ(stored, Lines(good));
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.accepted, 10000);
  const Names aside = SetAside();
  // The server compresses long names, so whether this one fits into the index depends on the server.
  EXPECT_EQ(report.setAside, static_cast<std::int64_t>(aside.size()));
  ASSERT_GE(aside.size(), 2u);
  EXPECT_EQ(aside[0], "22008 sample of NEVER at 9223372036854775807 ms: 2.000000");
  EXPECT_EQ(aside[1], std::string("22021 sample of NUL\0NAME at 1700000000000 ms: 1.000000", 54));
  EXPECT_TRUE(events.WaitFor(RecorderState::Storing, "22021"));
}

TEST_F(RecorderRefusals, SamplesThatInsertLogDataLeavesOutAreSetAside) {
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(
      recorder.Record(std::vector<LogSample>{{0, L"PUMP", 1},
                                             {-5, L"PUMP", 1},
                                             {kFirstMs, L"", 1},
                                             {kFirstMs, L"PUMP", std::nan("")},
                                             {kFirstMs, L"PUMP", -std::numeric_limits<double>::infinity()},
                                             {kFirstMs, L"PUMP", 5}}));
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Names{"1700000000000|PUMP|5"});
  EXPECT_EQ(recorder.Report().setAside, 5);
  EXPECT_EQ(SetAside().size(), 5u);
}

TEST_F(RecorderRefusals, BadAlarmsAndLogRecordsAreSetAsideAndNotCutShort) {
  Recorder recorder(NewDbms(), Options());
  std::vector<AlarmRecord> alarms;
  for (int i = 0; i < 50; ++i) alarms.push_back(AnAlarm(i));
  alarms[7].label = std::wstring(L"one\0two", 7);
  alarms[30].timeMs = std::numeric_limits<std::int64_t>::max();
  ASSERT_TRUE(recorder.Record(alarms));
  ASSERT_TRUE(
      recorder.Record(std::vector<SystemLogRecord>{ALogRecord(1), ALogRecord(2, std::wstring(L"a\0b", 3))}));
  ExpectAllSettled(recorder);
  EXPECT_EQ(Value("select count(*) from alarm"), "48");
  EXPECT_EQ(Value("select count(*) from alarm where label <> 'too hot'"), "0");
  EXPECT_EQ(Value("select count(*) from system_log"), "1");
  EXPECT_EQ(recorder.Report().stored, 49);
  EXPECT_EQ(recorder.Report().setAside, 3);
}

TEST_F(RecorderRefusals, AConstraintOfThePlantSetsAsideWhatItRefuses) {
  Run("alter table datalog add check (value < 5)");
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 20)));
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 5)));
  EXPECT_EQ(recorder.Report().setAside, 15);
}

TEST_F(RecorderRefusals, ThePermissionIsTakenAwayAndGivenBack) {
  Run("create table historian_ledger (spool text primary key, batch bigint not null, stored bigint not null,"
      " at timestamptz not null)");
  const auto restricted = Restricted("select, insert, update on datalog, alarm, historian_ledger");
  Recorder recorder(restricted, Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 100)));
  ExpectAllSettled(recorder);

  Run("revoke insert on datalog from " + account_);
  ASSERT_TRUE(recorder.Record(Samples(100, 100)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42501"));
  // Other kinds are not affected.
  ASSERT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(1)}));
  WaitUntil("select count(*) = 1 from alarm");
  // The spool is updated a little later than the table.
  while (recorder.Report().waiting != 100) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  ExpectTrueCounts(recorder.Report());
  EXPECT_EQ(recorder.Report().lastSqlState, "42501");

  Run("grant insert on datalog to " + account_);
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 200)));
  EXPECT_EQ(recorder.Report().duplicates, 0);
}

// A connection that is refused comes without an SQLSTATE.
TEST_F(RecorderRefusals, AWrongPasswordWaitsWithTheServersWords) {
  const auto restricted = Restricted("select, insert on datalog, alarm");
  Run("create table historian_ledger (spool text primary key, batch bigint not null, stored bigint not null,"
      " at timestamptz not null)");
  Run("grant select, insert, update on historian_ledger to " + account_);
  Run("alter role " + account_ + " password 'changed'");
  Recorder recorder(restricted, Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 10)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Waiting));
  const RecorderReport report = recorder.Report();
  EXPECT_EQ(report.state, RecorderState::Waiting);
  EXPECT_NE(report.lastError.find("password authentication failed"), std::string::npos) << report.lastError;
  EXPECT_EQ(report.waiting, 10);
  Run("alter role " + account_ + " password 'secret'");
  ExpectAllSettled(recorder);
}

TEST_F(RecorderRefusals, AnAccountThatMayNotMakeTheLedgerFindsIt) {
  Recorder recorder(Restricted("select, insert on datalog"), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 10)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42501"));
  EXPECT_EQ(recorder.Report().waiting, 10);
  Run("create table historian_ledger (spool text primary key, batch bigint not null, stored bigint not null,"
      " at timestamptz not null)");
  Run("grant select, insert, update on historian_ledger to " + account_);
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 10)));
}

TEST_F(RecorderRefusals, TheTableIsMissingForAWhile) {
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 10)));
  ExpectAllSettled(recorder);
  Run("alter table datalog rename to away; alter table alarm rename to alarm_away");
  ASSERT_TRUE(recorder.Record(Samples(10, 10)));
  ASSERT_TRUE(recorder.Record(std::vector<AlarmRecord>{AnAlarm(1)}));
  EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42P01"));
  EXPECT_EQ(recorder.Report().waiting, 11);
  Run("alter table away rename to datalog; alter table alarm_away rename to alarm");
  ExpectAllSettled(recorder);
  EXPECT_EQ(History(), Lines(Samples(0, 20)));
  EXPECT_EQ(Value("select count(*) from alarm"), "1");
  EXPECT_EQ(recorder.Report().state, RecorderState::Storing);
}

TEST_F(RecorderRefusals, AServerThatIsReadOnlyIsLeftAndFoundAgain) {
  const auto session = NewDbms();
  int asked = 0;
  const std::wstring host = Host();
  session->hostSelector = [&](const wchar_t* current) {
    EXPECT_EQ(current, nullptr);
    ++asked;
    return host.c_str();
  };
  SetForSessions("default_transaction_read_only to on");
  {
    Recorder recorder(session, Options());
    ASSERT_TRUE(recorder.Record(Samples(0, 10)));
    EXPECT_TRUE(events.WaitFor(RecorderState::Waiting, "25006"));
    EXPECT_EQ(recorder.Report().waiting, 10);
    Run("set default_transaction_read_only = off");
    SetForSessions("default_transaction_read_only to off");
    ExpectAllSettled(recorder);
    EXPECT_EQ(History(), Lines(Samples(0, 10)));
  }
  EXPECT_GE(asked, 1);
}

TEST_F(RecorderRefusals, TheRoleChangesOnRequest) {
  const auto session = NewDbms();
  const std::wstring host = Host();
  std::atomic<int> asked = 0;
  session->hostSelector = [&](const wchar_t*) {
    ++asked;
    return host.c_str();
  };
  Recorder recorder(session, Options());
  ASSERT_TRUE(recorder.Record(Samples(0, 10)));
  ExpectAllSettled(recorder);
  const std::string before = Value("select pid from pg_stat_activity where pid in " +
                                   std::string(kOtherBackends) + " order by backend_start desc limit 1");
  recorder.NotifyRoleChange();
  WaitUntil("select not exists (select from pg_stat_activity where pid = " + before + ")");
  ASSERT_TRUE(recorder.Record(Samples(10, 10)));
  ExpectAllSettled(recorder);
  EXPECT_EQ(asked, 1);
}

// Times that jump back, and a spool that was filled when the clock was ahead.
TEST_F(RecorderRefusals, AClockThatJumpsBackChangesNothing) {
  Run("alter table datalog rename to away");
  {
    Recorder recorder(NewDbms(), Options());
    ASSERT_TRUE(recorder.Record(Samples(1000, 10)));
    ASSERT_TRUE(recorder.Record(Samples(0, 10)));
    EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42P01"));
  }
  recorder::SqliteDatabase(directory.File(), recorder::SqliteDatabase::Access::ReadWrite)
      .Run("update sample_block set arrived = arrived + 86400000");
  events.Clear();
  Recorder recorder(NewDbms(), Options());
  ASSERT_TRUE(recorder.Record(Samples(500, 10)));
  EXPECT_TRUE(events.WaitFor(RecorderState::Refused, "42P01"));
  EXPECT_GE(recorder.Report().oldestWaiting.count(), 0);
  EXPECT_LT(recorder.Report().oldestWaiting, std::chrono::hours(1));
  Run("alter table away rename to datalog");
  ExpectAllSettled(recorder);
  auto all = Samples(0, 10);
  for (std::int64_t first : {500, 1000}) {
    const auto more = Samples(first, 10);
    all.insert(all.end(), more.begin(), more.end());
  }
  EXPECT_EQ(History(), Lines(all));
}

}  // namespace
}  // namespace historian
