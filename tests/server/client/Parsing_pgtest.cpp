// How often the server parses a command that is executed again, as a tap on the wire sees it.

#include "ParsingTest.h"

namespace {

class Parsing : public ParsingTest {};

TEST_F(Parsing, HappensOnceForACommandExecutedAgain) {
  EXPECT_EQ(Sent(1, L"one"), kParsedAndRun);
  EXPECT_EQ(Sent(2, L"two"), kRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
  EXPECT_EQ(Rows("select * from t order by a"), (std::vector<std::string>{"1|one", "2|two", "3|three"}));
}

TEST_F(Parsing, HappensOnceMoreUnderANameWhenAnotherStatementCameBetween) {
  EXPECT_EQ(Sent(1, L"one"), kParsedAndRun);
  Ask(L"select 1");
  EXPECT_EQ(Sent(2, L"two"), std::string(kNamed) + kRun);
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"1");
  EXPECT_EQ(Sent(3, L"three"), kRun);
  Ask(L"select 1");
  EXPECT_EQ(Sent(4, L"four"), kRun);
  EXPECT_EQ(Value("select string_agg(b, ' ' order by a) from t"), "one two three four");
}

TEST_F(Parsing, IsDisplacedByTheQuestionWhetherTheServerIsAlive) {
  Insert(1, L"one");
  EXPECT_TRUE(connection.isAlive());
  EXPECT_EQ(Sent(2, L"two"), std::string(kNamed) + kRun);
  EXPECT_EQ(Value("select count(*) from t"), "2");
}

TEST_F(Parsing, IsDisplacedByTheEndOfATransaction) {
  Ask(L"begin");
  Insert(1, L"one");
  connection.Commit();
  EXPECT_EQ(Sent(2, L"two"), std::string(kNamed) + kRun);
  EXPECT_EQ(Value("select count(*) from t"), "2");
}

TEST_F(Parsing, IsDisplacedByAnotherCommandWithParameters) {
  SACommand other(&connection, L"select :1::int");
  Insert(1, L"one");
  other << 5;
  other.Execute();
  EXPECT_EQ(Sent(2, L"two"), std::string(kNamed) + kRun);
  tap->Take();
  other << 6;
  other.Execute();
  EXPECT_EQ(tap->Take(), kRun) << "a named statement displaces nothing";
  EXPECT_TRUE(other.FetchNext());
  EXPECT_EQ(other.Field(1).asLong(), 6);
}

TEST_F(Parsing, TrustsNothingOnceTheNativeHandlesWereTaken) {
  Insert(1, L"one");
  connection.NativeHandles();
  EXPECT_EQ(Sent(2, L"two"), std::string(kNamed) + kRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
  SACommand another(&connection, L"insert into t values (:1)");
  another << 4;
  another.Execute();
  tap->Take();
  another << 5;
  another.Execute();
  EXPECT_EQ(tap->Take(), std::string(kNamed) + kRun);
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
  EXPECT_EQ(type(2), kRun);
  EXPECT_EQ(type(1.5), kParsedAndRun);
  EXPECT_EQ(type(2.5), kRun);
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
  EXPECT_EQ(tap->Take(), kRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
  EXPECT_EQ(Rows("select * from t order by a"), (std::vector<std::string>{"1|one", "3|three", "\\N|\\N"}));
}

TEST_F(Parsing, RemembersTheTypesBehindNulls) {
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
  EXPECT_EQ(sent, "PBDES PBDES BDES BDES BDES BDES ");
  EXPECT_EQ(Value("select count(a) || ' ' || count(b) from pair"), "3 3");
}

TEST_F(Parsing, HappensAfreshAfterAFailure) {
  Run("alter table t add primary key (a)");
  Insert(1, L"one");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Insert(1, L"again"));
  EXPECT_EQ(Sent(2, L"two"), kParsedAndRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
}

TEST_F(Parsing, FindsItsWayBackWhenTheServerHasForgotten) {
  Insert(1, L"one");
  Ask(L"select 1");
  Insert(2, L"two");
  Ask(L"discard all");
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Insert(3, L"three"));
  EXPECT_EQ(Sent(3, L"three"), kSimple + std::string(kParsedAndRun)) << "the lost name is released first";
  EXPECT_EQ(Value("select count(*) from t"), "3");
}

TEST_F(Parsing, HappensForANewText) {
  Insert(1, L"one");
  insert.setCommandText(L"insert into t values (:1, upper(:2))");
  EXPECT_EQ(Sent(2, L"two"), kParsedAndRun);
  EXPECT_EQ(Value("select b from t where a = 2"), "TWO");
}

TEST_F(Parsing, HappensOnANewLink) {
  Insert(1, L"one");
  connection.Destroy();
  Reconnect();
  EXPECT_EQ(Sent(2, L"two"), kParsedAndRun);
  EXPECT_EQ(Sent(3, L"three"), kRun);
  Ask(L"select 1");
  EXPECT_EQ(Sent(4, L"four"), std::string(kNamed) + kRun);
  connection.Destroy();
  Reconnect();
  EXPECT_EQ(Sent(5, L"five"), kParsedAndRun);
}

TEST_F(Parsing, ReleasesNamesWithTheNextStatement) {
  {
    SACommand command(&connection, L"select :1::int");
    command << 1;
    command.Execute();
    Ask(L"select 1");
    command << 2;
    command.Execute();
    EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"1");
  }
  tap->Take();
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"0");
  EXPECT_EQ(tap->Take(), "QQ");
  Ask(L"select 1");
  EXPECT_EQ(tap->Take(), "Q");
}

TEST_F(Parsing, ReleasesNoNamesInsideATransaction) {
  auto command = std::make_unique<SACommand>(&connection, L"select :1::int");
  *command << 1;
  command->Execute();
  Ask(L"begin");
  *command << 2;
  command->Execute();
  command.reset();
  EXPECT_SA_ERROR(SA_DBMS_API_Error, 7, Ask(L"select 1 / 0"));
  connection.Rollback();
  EXPECT_EQ(Ask(L"select count(*) from pg_prepared_statements"), L"0");
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
