// A statement fails in the middle of its work, because of a trigger that conflicts with another session, or a
// full disk.

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include <future>

#include "chaos/ChaosTest.h"

namespace {

// Waits until somebody waits for the lock that it holds, and then waits for theirs.
constexpr char kCollides[] =
    "perform pg_advisory_xact_lock(1); "
    "while not exists (select from pg_locks where locktype = 'advisory' and objid = 1 and not granted "
    "and database = (select oid from pg_database where datname = current_database())) "
    "loop perform pg_sleep(0.001); end loop; "
    "perform pg_advisory_xact_lock(2);";
constexpr char kHasLock[] =
    "select exists (select from pg_locks where locktype = 'advisory' and objid = 1 and granted "
    "and database = (select oid from pg_database where datname = current_database()))";

// Waits until another session has changed the row that it is about to change.
constexpr char kComesLate[] = "perform pg_advisory_xact_lock(1); update counter set n = n + 1;";
constexpr char kIsWaiting[] =
    "select exists (select from pg_locks where locktype = 'advisory' and not granted "
    "and database = (select oid from pg_database where datname = current_database()))";

class FaultInServer : public ChaosTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ChaosTest::SetUp());
    Run("create table counter (n int); insert into counter values (0)");
  }
  void ForEachWrite(const std::function<void(const Operation&)>& test) {
    for (const Operation& operation : Operations()) {
      if (operation.IsRead()) continue;
      SCOPED_TRACE(operation.name);
      test(operation);
    }
  }

  // Runs PL/pgSQL whenever the operation changes its table, or creates or drops tables.
  void Hook(const Operation& operation, const std::string& body) {
    const std::string end = " language plpgsql as $$ begin " + body + " return null; end $$";
    if (operation.table) {
      Run("create function fault() returns trigger" + end);
      Run("create trigger fault before insert or update or delete on " + std::string(operation.table) +
          " for each statement execute function fault()");
    } else {
      Run("create function fault() returns event_trigger language plpgsql as $$ begin " + body + " end $$");
      Run("create event trigger fault on ddl_command_start execute function fault()");
    }
  }
  void RemoveHook(const Operation& operation) {
    Run(operation.table ? "drop trigger fault on " + std::string(operation.table)
                        : std::string("drop event trigger fault"));
    Run("drop function fault()");
  }

  void ExpectFailure(Dbms& dbms, const Operation& operation, const char* state) {
    EXPECT_FALSE(operation.call(dbms));
    EXPECT_EQ(LastSqlState(dbms), state) << LastMessage(dbms);
    EXPECT_TRUE(dbms.GetConnection()->isConnected());
  }
  void ExpectItGoesOnWithoutHook(Dbms& dbms, const Operation& operation) {
    RemoveHook(operation);
    EXPECT_EQ(Held(operation), operation.holds.front());
    ExpectItGoesOn(dbms, operation);
  }
};

TEST_P(FaultInServer, Deadlock) {
  ForEachWrite([&](const Operation& operation) {
    const auto dbms = BeginDirectly(operation), other = BeginDirectly(operation);
    Hook(operation, kCollides);
    Execute(*dbms,
            L"set deadlock_timeout = '1ms'");  // the session that detects a deadlock becomes its victim
    Execute(*other, L"set deadlock_timeout = '1h'");
    Execute(*other, L"begin; select pg_advisory_xact_lock(2)");
    auto called = std::async(std::launch::async, [&] { ExpectFailure(*dbms, operation, "40P01"); });
    WaitUntil(kHasLock);
    Execute(*other, L"select pg_advisory_xact_lock(1)");
    called.get();
    Execute(*other, L"rollback");
    ExpectItGoesOnWithoutHook(*dbms, operation);
  });
}

TEST_P(FaultInServer, SerializationFailure) {
  ForEachWrite([&](const Operation& operation) {
    const auto dbms = BeginDirectly(operation);
    Hook(operation, kComesLate);
    Execute(*dbms, L"set default_transaction_isolation = 'repeatable read'");
    Run("select pg_advisory_lock(1)");
    auto called = std::async(std::launch::async, [&] {
      if (operation.setsReadCommitted) {
        EXPECT_TRUE(operation.call(*dbms));
      } else {
        ExpectFailure(*dbms, operation, "40001");
      }
    });
    WaitUntil(kIsWaiting);
    Run("update counter set n = n + 1");
    Run("select pg_advisory_unlock(1)");
    called.get();
    if (operation.setsReadCommitted) {
      RemoveHook(operation);
      EXPECT_EQ(Held(operation), operation.holds.back());
    } else {
      ExpectItGoesOnWithoutHook(*dbms, operation);
    }
  });
}

// The disk has no space for a new page of the table. A trigger refuses operations that need no new page.
class FullDisk : public FaultInServer {
 protected:
  // Every write to /dev/full fails with "no space left".
  void Fill(const std::string& table) {
    path_ = Value("select pg_relation_filepath('" + table + "')");
    Server("ln -sf /dev/full " + path_);
  }
  void Empty(const std::string& table) {
    Server("rm " + path_ + "; touch " + path_);
    Run("truncate " + table);  // so that sessions open the file again
  }

 private:
  void Server(const std::string& command) {
    Run("copy (select 1) to program 'cat > /dev/null; " + command + "'");
  }
  std::string path_;
};

TEST_P(FullDisk, IsReported) {
  ForEachWrite([&](const Operation& operation) {
    const auto dbms = BeginDirectly(operation);
    const bool needsPage = operation.table && !operation.probes;
    if (needsPage) {
      Fill(operation.table);
      ExpectFailure(*dbms, operation, "53100");
      EXPECT_TRUE(Says(*dbms, {L"No space left on device"}));
      Empty(operation.table);
      EXPECT_EQ(Held(operation), operation.holds.front());
      ExpectItGoesOn(*dbms, operation);
    } else {
      Hook(operation, "raise 'No space left on device' using errcode = '53100';");
      ExpectFailure(*dbms, operation, "53100");
      ExpectItGoesOnWithoutHook(*dbms, operation);
    }
  });
}

INSTANTIATE_WITH_EACH_FAMILY(FaultInServer);
INSTANTIATE_WITH_EACH_FAMILY(FullDisk);

}  // namespace
