// Objects on different threads that use one server.

#include <atomic>
#include <string>

#include "server/DbmsTest.h"
#include "threads/Parallel.h"

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 25;

class Sessions : public DbmsTest {};

UserRecord Account(int thread, int round) {
  UserRecord user;
  user.id = L"op " + std::to_wstring(thread) + L" " + std::to_wstring(round);
  user.login_date = 1700000000;
  return user;
}

TEST_F(Sessions, EachThreadWorksWithItsOwnObject) {
  ASSERT_TRUE(NewDbms()->CreateUserTables());
  ASSERT_TRUE(NewDbms()->CreateSystemLogTable(0));
  std::atomic<int> good{0};
  const auto work = [&](int thread) {
    const auto dbms = NewDbms(thread % 2 == 0 ? DbmsType::TirelScada : DbmsType::PostgreSQL);
    for (int round = 0; round < kRounds; ++round) {
      const SystemLogRecord record = {1700000000123,         static_cast<std::int16_t>(thread), 0, 0, 0, L"",
                                      std::to_wstring(round)};
      std::vector<UserRecord> users;
      if (dbms->InsertUsers({Account(thread, round)}) && dbms->InsertSystemLog({record}) == 1 &&
          dbms->GetUsers(users) && users.size() > static_cast<std::size_t>(round)) {
        ++good;
      }
    }
  };
  std::vector<std::function<void()>> bodies;
  for (int thread = 0; thread < kThreads; ++thread) bodies.emplace_back([&work, thread] { work(thread); });
  InParallel(bodies);
  EXPECT_EQ(good, kThreads * kRounds);
  EXPECT_EQ(Value("select count(*) from userinfo_table"), std::to_string(kThreads * kRounds));
  EXPECT_EQ(Value("select count(*) from system_log"), std::to_string(kThreads * kRounds));
}

TEST_F(Sessions, IdleObjectsChangeHostsWhileOthersWork) {
  ASSERT_TRUE(NewDbms()->CreateUserTables());
  std::vector<std::shared_ptr<Dbms>> resting;
  int asked = 0;
  for (int i = 0; i < 5; ++i) {
    resting.push_back(NewDbms());
    resting.back()->hostSelector = [&, host = Host()](const wchar_t*) {
      ++asked;
      return host.c_str();
    };
    ASSERT_TRUE(resting.back()->Connect());
  }
  std::atomic<int> good{0};
  const auto work = [&] {
    for (int round = 0; round < kRounds; ++round) {
      const auto dbms = NewDbms();
      std::vector<UserRecord> users;
      if (dbms->GetUsers(users)) ++good;
    }
  };
  const auto broadcast = [&] {
    for (int round = 0; round < kRounds; ++round) {
      Dbms::BroadcastRoleChange();
      for (const auto& dbms : resting) {
        if (dbms->Connect()) ++good;
      }
    }
  };
  InParallel({broadcast, work, work});
  EXPECT_EQ(good, 7 * kRounds);
  EXPECT_EQ(asked, 5 * kRounds);
}

// Tables that imitate an extension in which all hypertables are set up.
class Detection : public DbmsTest {
 protected:
  void SetUp() override {
    DbmsTest::SetUp();
    Run("create table public.pg_extension (extname text, extversion text)");
    Run("insert into public.pg_extension values ('timescaledb', '2.17.2')");
    Run("create schema timescaledb_information; create schema _timescaledb_catalog; "
        "create schema _timescaledb_config");
    Run("create table _timescaledb_catalog.hypertable (id int, table_name name, compression_state int2)");
    Run("insert into _timescaledb_catalog.hypertable values (1, 'system_log', 1), (2, 'audit_table', 1)");
    Run("create table _timescaledb_config.bgw_job (application_name text, config jsonb)");
    Run("create table timescaledb_information.jobs (proc_name name, hypertable_name name)");
    Run("insert into timescaledb_information.jobs values ('policy_compression', 'system_log'), "
        "('policy_compression', 'audit_table')");
    Run("create function compress_chunk(text) returns text language sql as 'select $1'");
    // Sessions find pg_extension here before that of the server's catalog.
    SetForSessions("search_path to public, pg_catalog");
  }
  void TearDown() override {
    // Resets the version for later tests: this extension's version is 0.
    Run("update public.pg_extension set extversion = '0.0'");
    EXPECT_TRUE(NewDbms()->CreateSystemLogTable(0));
    DbmsTest::TearDown();
  }
};

TEST_F(Detection, TheVersionIsDetectedWhileOthersUseIt) {
  ASSERT_TRUE(NewDbms()->CreateAuditTable());
  std::atomic<int> good{0};
  std::atomic<int> relapses{0};
  std::atomic<bool> found{false};
  const auto detect = [&] {
    const auto dbms = NewDbms();
    for (int round = 0; round < kRounds; ++round) {
      if (dbms->CreateSystemLogTable(0)) ++good;
      found = true;
    }
  };
  const auto audit = [&] {
    const auto dbms = NewDbms();
    for (int round = 0; round < kRounds; ++round) {
      if (dbms->CreateAuditTable()) ++good;
    }
  };
  // The plain variant compresses only while the version is unknown. Each reader sees the change once.
  const auto read = [&] {
    const auto plain = NewDbms(DbmsType::PostgreSQL);
    bool known = false;
    bool last = false;
    while (!last) {
      last = found;
      const bool unknown = plain->CompressChunk(L"c");
      if (known && unknown) ++relapses;
      known = known || !unknown;
    }
    if (known) ++good;
  };
  InParallel({detect, audit, read, read});
  EXPECT_EQ(good, 2 * kRounds + 2);
  EXPECT_EQ(relapses, 0);
}

}  // namespace
