// How often the server parses a command that is executed repeatedly, as recorded by a ProtocolTap.

#include "ParsingTest.h"

namespace {

class Parsing : public ParsingTest {};

TEST_F(Parsing, NeedsNoNameTheFirstTimeAndGivesOneTheSecond) {
  EXPECT_EQ(Sent(1, L"one"), kParsedAndRun);
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"0");
  EXPECT_EQ(Sent(2, L"two"), kPreparedAndRun);
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"1");
  EXPECT_EQ(Sent(3, L"three"), kRun);
  EXPECT_EQ(Rows("select * from t order by a"), (std::vector<std::string>{"1|one", "2|two", "3|three"}));
}

TEST_F(Parsing, IsDoneWhateverElseGoesOverTheConnection) {
  Insert(1, L"one");
  Insert(2, L"two");
  Ask(L"select 1");
  EXPECT_EQ(Sent(3, L"three"), kRun);
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Sent(4, L"four"), kRun);
  SACommand other(&connection, L"select :1::int");
  other << 5;
  other.Execute();
  EXPECT_EQ(Sent(5, L"five"), kRun);
  Ask(L"begin");
  EXPECT_EQ(Sent(6, L"six"), kRun);
  connection.Commit();
  EXPECT_EQ(Sent(7, L"seven"), kRun);
  EXPECT_EQ(Value("select count(*) from t"), "7");
}

TEST_F(Parsing, IsDoneWhateverTheNativeHandlesAreUsedFor) {
  Insert(1, L"one");
  Insert(2, L"two");
  const pgAPI& api = static_cast<const pgAPI&>(*connection.NativeAPI());
  PGconn* const handle = static_cast<pgConnectionHandles&>(*connection.NativeHandles()).conn;
  api.PQclear(api.PQexec(handle, "copy t from stdin"));
  EXPECT_EQ(api.PQputCopyData(handle, "3\tthree\n", 8), 1);
  EXPECT_EQ(api.PQputCopyEnd(handle, nullptr), 1);
  while (PGresult* result = api.PQgetResult(handle)) api.PQclear(result);
  EXPECT_EQ(Sent(4, L"four"), kRun);
  EXPECT_EQ(Value("select count(*) from t"), "4");
}

TEST_F(Parsing, HappensAgainForOtherTypes) {
  SACommand command(&connection, L"select pg_typeof(:1)::text");
  std::vector<std::wstring> types;
  const auto type = [&](auto value) {
    tap->Take();
    command << value;
    command.Execute();
    types.push_back(Fetch(command).at(0));
    return tap->Take();
  };
  EXPECT_EQ(type(1), kParsedAndRun);
  EXPECT_EQ(type(2), kPreparedAndRun);
  EXPECT_EQ(type(1.5), kParsedAndRun);
  EXPECT_EQ(type(2.5), "Q" + std::string(kPreparedAndRun)) << "the name for integers is deallocated";
  EXPECT_EQ(type(7LL), kParsedAndRun);
  EXPECT_EQ(type(true), kParsedAndRun);
  EXPECT_EQ(type(short{3}), kParsedAndRun);
  EXPECT_EQ(types, (std::vector<std::wstring>{L"integer", L"integer", L"double precision",
                                              L"double precision", L"bigint", L"boolean", L"smallint"}));
}

TEST_F(Parsing, TakesNullForAnyType) {
  EXPECT_EQ(Sent(1, L"one"), kParsedAndRun);
  tap->Take();
  insert << SANull() << SANull();
  insert.Execute();
  EXPECT_EQ(tap->Take(), kPreparedAndRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
  EXPECT_EQ(Rows("select * from t order by a"), (std::vector<std::string>{"1|one", "3|three", "\\N|\\N"}));
}

TEST_F(Parsing, RemembersTheTypesOfNulls) {
  Run("create table pair (a int, b float8)");
  SACommand command(&connection, L"insert into pair values (:1, :2)");
  std::string sent;
  for (int i = 0; i < 6; ++i) {
    if (i % 2) {
      command << SANull() << 0.5;
    } else {
      command << i << SANull();
    }
    tap->Take();
    command.Execute();
    sent += tap->Take() + " ";
  }
  EXPECT_EQ(sent, "PBDES PBDES PSBDES BDES BDES BDES ");
  EXPECT_EQ(Value("select count(a) || ' ' || count(b) from pair"), "3 3");
}

TEST_F(Parsing, HappensAgainAfterAFailure) {
  Run("alter table t add primary key (a)");
  Insert(1, L"one");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Insert(1, L"again"));
  EXPECT_EQ(Sent(2, L"two"), kParsedAndRun);
  EXPECT_EQ(Sent(3, L"three"), "Q" + std::string(kPreparedAndRun)) << "the former name is deallocated";
  EXPECT_EQ(Sent(4, L"four"), kRun);
}

TEST_F(Parsing, HappensAgainWhenTheServerHasForgotten) {
  for (const wchar_t* forget : {L"discard all", L"deallocate all"}) {
    Insert(1, L"one");
    Insert(2, L"two");
    Ask(forget);
    EXPECT_EQ(Sent(3, L"three"), std::string(kRun) + kParsedAndRun);
    EXPECT_EQ(Sent(4, L"four"), "Q" + std::string(kPreparedAndRun));
    EXPECT_EQ(Sent(5, L"five"), kRun);
  }
  EXPECT_EQ(Value("select count(*) from t"), "10");
}

TEST_F(Parsing, IsAnErrorForTheCallerInATransaction) {
  Insert(1, L"one");
  Insert(2, L"two");
  Ask(L"deallocate all");
  Ask(L"begin");
  const SAException error = Thrown([&] { Insert(3, L"three"); });
  EXPECT_EQ(error.SqlState(), "26000");
  connection.Rollback();
  EXPECT_EQ(Sent(3, L"three"), kParsedAndRun);
  EXPECT_EQ(Value("select count(*) from t"), "3");
}

TEST_F(Parsing, HappensForANewText) {
  Insert(1, L"one");
  insert.setCommandText(L"insert into t values (:1, upper(:2))");
  EXPECT_EQ(Sent(2, L"two"), kParsedAndRun);
  EXPECT_EQ(Value("select b from t where a = 2"), "TWO");
}

TEST_F(Parsing, HappensOnANewConnection) {
  Insert(1, L"one");
  Insert(2, L"two");
  connection.Destroy();
  Reconnect();
  EXPECT_EQ(Sent(3, L"three"), kParsedAndRun);
  EXPECT_EQ(Sent(4, L"four"), kPreparedAndRun);
  EXPECT_EQ(Sent(5, L"five"), kRun);
}

TEST_F(Parsing, OfALongTextIsDoneForOneCommand) {
  const std::wstring text = L"insert into t values (:1, :2) -- " + std::wstring(3000, L'x');
  {
    SACommand command(&connection, text.c_str());
    tap->Take();
    for (int i = 0; i < 3; ++i) {
      command << i << L"long";
      command.Execute();
    }
    EXPECT_EQ(tap->Take(), std::string(kParsedAndRun) + kPreparedAndRun + kRun);
  }
  SACommand another(&connection, text.c_str());
  another << 3 << L"long";
  another.Execute();
  EXPECT_EQ(tap->Take(), kParsedAndRun);
}

// Statements that are no longer in use are deallocated before another one is prepared.
TEST_F(Parsing, KeepsABoundedNumberOfNames) {
  for (int i = 0; i < 200; ++i) {
    SACommand command(&connection, (L"select :1::int + " + std::to_wstring(i)).c_str());
    for (int execution = 0; execution < 2; ++execution) {
      command << 1;
      command.Execute();
    }
  }
  const long names = std::stol(Ask(L"select count(*) from pg_prepared_statements"));
  EXPECT_GT(names, 10);
  EXPECT_LE(names, 65);
}

TEST_F(Parsing, DeallocatesNothingInATransaction) {
  Ask(L"begin");
  for (int i = 0; i < 100; ++i) {
    SACommand command(&connection, (L"select :1::int + " + std::to_wstring(i)).c_str());
    for (int execution = 0; execution < 2; ++execution) {
      command << 1;
      command.Execute();
    }
  }
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"100");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1 / 0"));
  connection.Rollback();
  Insert(1, L"one");
  Insert(2, L"two");
  EXPECT_LE(std::stol(Ask(L"select count(*) from pg_prepared_statements")), 65);
}

TEST_F(Parsing, LeavesStatementsWithoutParametersToTheSimpleProtocol) {
  SACommand command(&connection, L"select 1");
  command.Execute();
  command.Execute();
  EXPECT_EQ(tap->Take(), "QQ");
}

TEST_F(Parsing, SendsNothingForASettingThatChangesNothing) {
  connection.Commit();
  connection.Rollback();
  connection.setIsolationLevel(SA_LevelUnknown);
  EXPECT_TRUE(connection.isConnected());
  EXPECT_EQ(tap->Take(), "");
}

TEST_F(Parsing, SendsNothingWithAParameterNeverBound) {
  insert << 1;
  EXPECT_SA_ERROR(SA_Library_Error, 0, insert.Execute());
  EXPECT_EQ(tap->Take(), "");
  insert << 1 << L"one";
  insert.Execute();
  EXPECT_EQ(Value("select count(*) from t"), "1");
}

}  // namespace
