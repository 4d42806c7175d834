// The settings of a session (dates in ISO style, no notices), and transactions.

#include <libpq-fe.h>

#include "ClientTest.h"

namespace {

class Session : public ClientTest {
 protected:
  void Alter(const std::string& setting) {
    Run("alter database " + Value("select current_database()") + " set " + setting);
  }
};

TEST_F(Session, ReadsDatesWhateverStyleIsSet) {
  Alter("datestyle = 'German'");
  Connect();
  EXPECT_EQ(Ask(L"show datestyle"), L"ISO, DMY");
  SACommand command(&connection, L"select date '2024-03-01'");
  command.Execute();
  ASSERT_TRUE(command.FetchNext());
  const SADateTime date = command.Field(1).asDateTime();
  EXPECT_EQ(date.GetYear(), 2024);
  EXPECT_EQ(date.GetMonth(), 3);
  EXPECT_EQ(date.GetDay(), 1);
}

TEST_F(Session, LeavesIsoStyleAlone) {
  Alter("datestyle = 'ISO, YMD'");
  Connect();
  EXPECT_EQ(Ask(L"show datestyle"), L"ISO, YMD");
}

TEST_F(Session, ReadsDatesWhateverStyleTheClientSets) {
  Connect();
  for (const wchar_t* style : {L"set datestyle = 'German'", L"begin; set datestyle = 'SQL'"}) {
    Ask(style);
    SACommand command(&connection, L"select date '2024-03-01'");
    command.Execute();
    ASSERT_TRUE(command.FetchNext());
    EXPECT_EQ(command.Field(1).asDateTime().GetYear(), 2024);
  }
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"set datestyle = 'German'; select 1 / 0"));
  connection.Rollback();
  EXPECT_EQ(Ask(L"select date '2024-03-01'"), L"2024-03-01");
}

TEST_F(Session, ReadsNumbersWithAllTheirDigits) {
  Alter("extra_float_digits = -3");
  Connect();
  EXPECT_EQ(Ask(L"select 0.1::float8 + 0.2::float8"), L"0.30000000000000004");
  SAConnection rounding;
  ConnectTo(rounding, Server() + L"@" + Database() + L";-c extra_float_digits=0");
  EXPECT_EQ(Ask(rounding, L"select 0.1::float8 + 0.2::float8"), L"0.3");
}

TEST_F(Session, TakesABackslashInAStringAsItIs) {
  Alter("standard_conforming_strings = off");
  Alter("datestyle = 'German'");
  Connect();
  EXPECT_EQ(Ask(L"select 'a\\b'"), L"a\\b");
  EXPECT_EQ(Ask(L"select date '2024-03-01'"), L"2024-03-01");
}

TEST_F(Session, KeepsNoNotifications) {
  Connect();
  Ask(L"listen news");
  Ask(L"notify news");
  Ask(L"select 1");
  PGconn* const handle = static_cast<pgConnectionHandles&>(*connection.NativeHandles()).conn;
  EXPECT_EQ(PQnotifies(handle), nullptr);
}

TEST_F(Session, KeepsNoticesOffStderr) {
  Connect();
  testing::internal::CaptureStderr();
  Ask(L"create table twice (a int)");
  Ask(L"create table if not exists twice (a int)");
  Ask(L"do $$ begin raise notice 'said aloud'; raise warning 'louder'; end $$");
  connection.Disconnect();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST_F(Session, KeepsWarningsOfTheConnectingOffStderr) {
  Alter("default_tablespace = 'nowhere'");
  testing::internal::CaptureStderr();
  Connect();
  connection.Disconnect();
  ConnectTo(connection, Server() + L"@dbname=" + Database() + L" connect_timeout=60");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_TRUE(connection.isAlive());
}

TEST_F(Session, CommitsEachStatementSeparately) {
  Run("create table t (a int)");
  Connect();
  Ask(L"insert into t values (1)");
  EXPECT_EQ(Rows("select a from t"), (std::vector<std::string>{"1"}));
  connection.Rollback();
  EXPECT_EQ(Rows("select a from t"), (std::vector<std::string>{"1"}));
}

TEST_F(Session, CommitEndsATransaction) {
  Run("create table t (a int)");
  Connect();
  Ask(L"begin");
  Ask(L"insert into t values (1)");
  EXPECT_EQ(Rows("select a from t"), std::vector<std::string>());
  connection.Commit();
  EXPECT_EQ(Rows("select a from t"), (std::vector<std::string>{"1"}));
}

TEST_F(Session, RollbackUndoesATransaction) {
  Run("create table t (a int)");
  Connect();
  Ask(L"begin");
  Ask(L"insert into t values (1)");
  connection.Rollback();
  EXPECT_EQ(Rows("select a from t"), std::vector<std::string>());
  Ask(L"insert into t values (2)");
  EXPECT_EQ(Rows("select a from t"), (std::vector<std::string>{"2"}));
}

TEST_F(Session, RollbackEndsAFailedTransaction) {
  Connect();
  Ask(L"begin");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1 / 0"));
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1"));
  connection.Rollback();
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Session, CommitOfAFailedTransactionIsAnError) {
  Run("create table t (a int)");
  Connect();
  Ask(L"begin");
  Ask(L"insert into t values (1)");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1 / 0"));
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, connection.Commit());
  EXPECT_EQ(Rows("select a from t"), std::vector<std::string>());
  EXPECT_EQ(Ask(L"select 1"), L"1");
}

TEST_F(Session, CommitAndRollbackDoNothingOutsideATransaction) {
  Connect();
  connection.Commit();
  connection.Rollback();
  connection.Disconnect();
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Commit());
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.Rollback());
}

TEST_F(Session, SetsIsolationLevels) {
  Connect();
  EXPECT_EQ(connection.IsolationLevel(), SA_LevelUnknown);
  const std::pair<SAIsolationLevel_t, const wchar_t*> levels[] = {{SA_RepeatableRead, L"repeatable read"},
                                                                  {SA_ReadUncommitted, L"read committed"},
                                                                  {SA_Serializable, L"serializable"},
                                                                  {SA_ReadCommitted, L"read committed"}};
  for (const auto& [level, name] : levels) {
    connection.setIsolationLevel(level);
    EXPECT_EQ(connection.IsolationLevel(), level);
    EXPECT_EQ(Ask(L"show transaction_isolation"), name);
    EXPECT_EQ(Ask(L"show default_transaction_isolation"), name);
  }
}

TEST_F(Session, SettingAnIsolationLevelCommitsATransaction) {
  Run("create table t (a int)");
  Connect();
  Ask(L"begin");
  Ask(L"insert into t values (1)");
  connection.setIsolationLevel(SA_ReadCommitted);
  EXPECT_EQ(Rows("select a from t"), (std::vector<std::string>{"1"}));
}

TEST_F(Session, TheUnknownIsolationLevelSendsNothing) {
  Connect();
  connection.setIsolationLevel(SA_Serializable);
  Ask(L"begin");
  connection.setIsolationLevel(SA_LevelUnknown);
  EXPECT_EQ(connection.IsolationLevel(), SA_LevelUnknown);
  EXPECT_EQ(Ask(L"show default_transaction_isolation"), L"serializable");
  EXPECT_EQ(
      Ask(L"select count(*) from pg_stat_activity where pid = pg_backend_pid() and xact_start < query_start"),
      L"1");
}

TEST_F(Session, AFreshLinkHasTheServersIsolationLevel) {
  Connect();
  connection.setIsolationLevel(SA_Serializable);
  connection.Destroy();
  Connect();
  EXPECT_EQ(connection.IsolationLevel(), SA_LevelUnknown);
  EXPECT_EQ(Ask(L"show transaction_isolation"), L"read committed");
  connection.Destroy();
  EXPECT_SA_ERROR(SA_Library_Error, 0, connection.setIsolationLevel(SA_Serializable));
}

}  // namespace
