// The server refuses a connection or a statement.

#include <DbmsAPI/Diagnostics.h>
#include <SQLAPI.h>

#include <future>

#include "chaos/ChaosTest.h"

namespace {

// ---- Connections ----

class RefusedConnection : public ChaosTest {};

TEST_P(RefusedConnection, NobodyListens) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    Run(operation.prepare);
    gate = NewGate();  // closed
    const auto dbms = NewGatedDbms();
    int asked = 0;
    dbms->hostSelector = [&](const wchar_t* host) {
      ++asked;
      return host;
    };
    EXPECT_FALSE(operation.call(*dbms));
    EXPECT_TRUE(Says(*dbms, {L"10061"}));
    EXPECT_EQ(asked, operation.probes ? 2 : 1);
    EXPECT_EQ(Held(operation), operation.holds.front());
    gate->Open();
    ExpectItGoesOn(*dbms, operation);
  }
}

INSTANTIATE_WITH_EACH_FAMILY(RefusedConnection);

// A role of the test's own, which the server may refuse.
class LimitedRole : public ChaosTest {
 protected:
  void SetUp() override {
    ASSERT_NO_FATAL_FAILURE(ChaosTest::SetUp());
    Run("revoke create on schema public from public");
  }
  void TearDown() override {
    if (hasRole_) Run("drop owned by " + Role() + "; drop role " + Role());
    ChaosTest::TearDown();
  }

  std::string Role() const {
    const std::wstring name = Database();
    return "role_of_" + std::string(name.begin(), name.end());
  }
  std::shared_ptr<Dbms> NewDbmsOfRole(const std::string& limit) {
    Run((hasRole_ ? "alter role " : "create role ") + Role() + " nosuperuser login password 'secret' " +
        limit);
    hasRole_ = true;
    return Dbms::GetDbms(DbmsType::PostgreSQL, Host().c_str(), Port(), Database().c_str(),
                         (L"role_of_" + Database()).c_str(), L"secret");
  }
  void ExpectRefusal(Dbms& dbms, const Operation& operation, const char* state, const Texts& texts) {
    EXPECT_FALSE(operation.call(dbms));
    EXPECT_EQ(LastSqlState(dbms), state);
    EXPECT_TRUE(Says(dbms, texts));
    EXPECT_EQ(Held(operation), operation.holds.front());
    Run("alter role " + Role() + " superuser connection limit -1");
    ExpectItGoesOn(dbms, operation);
  }

 private:
  bool hasRole_ = false;
};

TEST_P(LimitedRole, HasTooManyConnections) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    Run(operation.prepare);
    const auto dbms = NewDbmsOfRole("connection limit 0");
    dbms->hostSelector = KeepHost;
    ExpectRefusal(*dbms, operation, "", {L"too many connections for role"});
  }
}

TEST_P(LimitedRole, LacksPrivileges) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    Run(operation.prepare);
    const auto dbms = NewDbmsOfRole("connection limit -1");
    ExpectRefusal(*dbms, operation, "42501", {L"permission denied", L"must be owner"});
    EXPECT_TRUE(dbms->GetConnection()->isConnected());
  }
}

INSTANTIATE_WITH_EACH_FAMILY(LimitedRole);

// ---- Statements ----

class RefusedStatement : public ChaosTest {
 protected:
  void ExpectRefusal(Dbms& dbms, const Operation& operation, const char* state) {
    EXPECT_FALSE(operation.call(dbms));
    EXPECT_EQ(LastSqlState(dbms), state) << LastMessage(dbms);
    EXPECT_TRUE(dbms.GetConnection()->isConnected());
  }
  // On a busy machine the limit may end this statement, too.
  static void RemoveLimit(Dbms& dbms, const wchar_t* reset) {
    try {
      Execute(dbms, reset);
    } catch (const SAException& error) {
      if (error.SqlState() != "57014") throw;
      RemoveLimit(dbms, reset);
    }
  }
  void ExpectThatItWaitsInVain(const wchar_t* limit, const wchar_t* reset, const char* state) {
    for (const Operation& operation : Operations()) {
      SCOPED_TRACE(operation.name);
      const auto dbms = BeginDirectly(operation);
      Execute(*dbms, limit);
      Hold(operation);
      ExpectRefusal(*dbms, operation, state);
      Run("rollback");
      EXPECT_EQ(Held(operation), operation.holds.front());
      RemoveLimit(*dbms, reset);
      ExpectItGoesOn(*dbms, operation);
    }
  }
};

TEST_P(RefusedStatement, ExceedsTheStatementTimeout) {
  ExpectThatItWaitsInVain(L"set statement_timeout = '100ms'", L"set statement_timeout = 0", "57014");
}

TEST_P(RefusedStatement, ExceedsTheLockTimeout) {
  ExpectThatItWaitsInVain(L"set lock_timeout = '100ms'", L"set lock_timeout = 0", "55P03");
}

TEST_P(RefusedStatement, IsCancelled) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const auto dbms = BeginDirectly(operation);
    const std::string isWaiting = Hold(operation);
    auto called = std::async(std::launch::async, [&] { ExpectRefusal(*dbms, operation, "57014"); });
    WaitUntil(isWaiting);
    Run("select pg_cancel_backend(pid) from " + std::string(kOtherBackends) + " as others");
    called.get();
    Run("rollback");
    EXPECT_EQ(Held(operation), operation.holds.front());
    ExpectItGoesOn(*dbms, operation);
  }
}

// As a standby or a fenced primary would.
TEST_P(RefusedStatement, WritesWhereOneMayOnlyRead) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const auto dbms = BeginDirectly(operation);
    Execute(*dbms, L"set default_transaction_read_only = on");
    if (operation.IsRead()) {
      EXPECT_TRUE(operation.call(*dbms));
      continue;
    }
    ExpectRefusal(*dbms, operation, "25006");
    EXPECT_EQ(Held(operation), operation.holds.front());
    Execute(*dbms, L"set default_transaction_read_only = off");
    ExpectItGoesOn(*dbms, operation);
  }
}

TEST_P(RefusedStatement, MissesItsTable) {
  for (const Operation& operation : Operations()) {
    SCOPED_TRACE(operation.name);
    const auto dbms = BeginDirectly(operation);
    if (!operation.table) {
      Run("drop table if exists audit_table, signinfo_table, user_kiln");
      EXPECT_TRUE(operation.call(*dbms)) << "it makes the table";
      EXPECT_EQ(Value("select count(*) from pg_tables where schemaname = 'public'"), "1");
      continue;
    }
    const std::string table = operation.table, schema = table.substr(0, table.find('.') + 1);
    Run("alter table " + table + " rename to away");
    ExpectRefusal(*dbms, operation, "42P01");
    Run("alter table " + schema + "away rename to " + table.substr(schema.size()));
    EXPECT_EQ(Held(operation), operation.holds.front());
    ExpectItGoesOn(*dbms, operation);
  }
}

INSTANTIATE_WITH_EACH_FAMILY(RefusedStatement);

}  // namespace
